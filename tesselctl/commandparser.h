// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDPARSER_H
#define TESSELCTL_COMMANDPARSER_H

#include "tesselctl/exitcode.h"
#include "tesselctl/settings.h"
#include "tesselctl/terminal/console.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace TesselCtl {

/// An option or argument of a command that was added to a parser.
class CommandOption
{
public:
    CommandOption(CLI::Option* option, std::string initial);

    /// How the help names its value.
    CommandOption& placeholder(const char* text);
    /// The title under which the help lists it.
    CommandOption& group(const char* title);
    /// Has the help show the value that it has when it is not given.
    CommandOption& showDefault();
    CommandOption& required();
    /// One value each time that it is given; it may be given several times.
    CommandOption& repeatable();
    /// Its value is a list, separated by commas.
    CommandOption& listed();
    CommandOption& oneOf(const QStringList& values);
    CommandOption& between(int least, int most);
    CommandOption& between(double least, double most);
    CommandOption& positive();
    CommandOption& excludes(const CommandOption& other);

private:
    CLI::Option* m_option; // the parser owns it
    std::string m_initial;
};

/// Describes a command: its options, its help and what runs it; commands within it are added the same way. A
/// handle: copies are the same command. The variables that add() fills must outlive the run of the command.
class CommandParser
{
public:
    /// Runs a command. @return the exit code of the process.
    using Run = std::function<ExitCode(const Settings& settings, Console& console)>;

    /// Adds a command within this one, which then needs one of them unless it is runnable by itself.
    CommandParser addCommand(const char* name, const QString& description);

    /// Adds an option, whose @p name begins with a dash, or an argument.
    CommandOption add(const char* name, QString& value, const QString& description);
    CommandOption add(const char* name, QStringList& value, const QString& description);
    CommandOption add(const char* name, int& value, const QString& description);
    CommandOption add(const char* name, double& value, const QString& description);
    CommandOption addFlag(const char* name, bool& value, const QString& description);

    /// What follows the options in the help.
    void setFooter(const QString& text);
    void setRun(Run run);
    /// @p help writes the help of this command for the arguments before --help; an empty text stands for the
    /// help of the command as such. Call it after setRun().
    void setHelp(std::function<QString(const QStringList& arguments)> help);

protected:
    struct Runnable
    {
        CLI::App* command;
        Run run;
        std::function<QString(const QStringList& arguments)> help; ///< may be empty
    };
    using Runnables = std::vector<Runnable>;

    CommandParser(CLI::App* app, std::shared_ptr<Runnables> runnables);
    bool isRunnable() const;

    CLI::App* m_app; // that of the CommandLineParser, or within it
    std::shared_ptr<Runnables> m_runnables;
};

/// Reads a command line for the program and the commands that were added to it.
class CommandLineParser : public CommandParser
{
public:
    CommandLineParser();
    ~CommandLineParser();

    /// @return what runs the command that the arguments name; or how the process ends, after --help,
    /// --version or a mistake, which went to @p console.
    std::variant<Run, ExitCode> parse(int argc, char** argv, Console& console);

private:
    explicit CommandLineParser(std::unique_ptr<CLI::App> app);

    std::unique_ptr<CLI::App> m_owned;
    Q_DISABLE_COPY_MOVE(CommandLineParser)
};

} // namespace TesselCtl

#endif
