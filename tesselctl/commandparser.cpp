// SPDX-License-Identifier: MIT
#include "tesselctl/commandparser.h"

#include "tesselctl/terminal/printable.h"
#include <operations/suggestion.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>

namespace TesselCtl {

using Tessel::Operations::didYouMean;

namespace {

// CLI11 splits arguments in brackets at their commas and takes negative numbers for options; a mark in front
// keeps them as they are until takeText() removes it.
const char mark = '\x1f';

std::string marked(const std::string& argument)
{
    const bool list = !argument.empty() && argument.front() == '[';
    const bool negative =
        argument.size() > 1 && argument[0] == '-' && argument[1] >= '0' && argument[1] <= '9';
    return list || negative ? mark + argument : argument;
}

QString takeText(const std::string& argument)
{
    const QString text = QString::fromStdString(argument);
    return text.startsWith(QLatin1Char(mark)) ? text.mid(1) : text;
}

// CLI11's own texts name no option's remedy and print numbers with all their digits.
template <class Number>
CLI::Validator numberBetween(Number least, Number most, const QString& expected, const char* description)
{
    const auto mistake = [=](const std::string& argument) {
        const QString text = takeText(argument);
        bool isNumber = false;
        Number value{};
        if constexpr (std::is_integral_v<Number>) {
            value = text.toInt(&isNumber);
        } else {
            value = text.toDouble(&isNumber);
        }
        return isNumber && value >= least && value <= most
                   ? std::string()
                   : QStringLiteral("expected %1, got \"%2\"").arg(expected, printable(text)).toStdString();
    };
    return {mistake, description};
}

/// The command that the command line named, as far as it names one.
const CLI::App& innermostCommand(const CLI::App& app)
{
    const std::vector<CLI::App*> named = app.get_subcommands();
    return named.empty() ? app : innermostCommand(*named.front());
}

/// "tesselctl firmware update"
QString fullName(const CLI::App& command)
{
    const QString name = QString::fromStdString(command.get_name());
    return command.get_parent() ? fullName(*command.get_parent()) + QLatin1Char(' ') + name : name;
}

QStringList commandNames(const CLI::App& command)
{
    QStringList names;
    for (const CLI::App* one : command.get_subcommands([](const CLI::App* /*command*/) { return true; })) {
        names << QString::fromStdString(one->get_name());
    }
    return names;
}

QStringList optionNames(const CLI::App& command)
{
    QStringList names = command.get_parent() ? optionNames(*command.get_parent()) : QStringList();
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names << QStringLiteral("--") + QString::fromStdString(name);
        }
    }
    names.removeDuplicates();
    return names;
}

/// The values that the command line gave to the arguments of @p command.
QStringList positionalsOf(const CLI::App& command)
{
    QStringList values;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional()) {
            for (const std::string& value : option->results()) {
                values << takeText(value);
            }
        }
    }
    return values;
}

/// What is wrong with a command line that CLI11 did not take.
QString mistakeIn(const CLI::App& app, const CLI::ParseError& error)
{
    QString text = printable(QString::fromUtf8(error.what()).remove(QLatin1Char(mark)));
    const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
    if (kind == CLI::ExitCodes::ArgumentMismatch) {
        return text.section(QLatin1Char(':'), 0, 0) + QStringLiteral(" needs a value");
    }
    if (kind != CLI::ExitCodes::RequiredError && kind != CLI::ExitCodes::ExtrasError) {
        return text;
    }
    const CLI::App& command = innermostCommand(app);
    const QStringList commands = commandNames(command);
    const std::vector<std::string> remaining = app.remaining(true);
    const auto isOption = [](const std::string& one) { return one.size() > 1 && one.front() == '-'; };
    const auto option = std::find_if(remaining.begin(), remaining.end(), isOption);
    if (!commands.isEmpty() && !remaining.empty() && !isOption(remaining.front())) {
        const QString word = takeText(remaining.front());
        return QStringLiteral("unknown command \"%1\"").arg(printable(word)) + didYouMean(word, commands);
    }
    if (option != remaining.end()) {
        const QString word = QString::fromStdString(*option).section(QLatin1Char('='), 0, 0);
        return QStringLiteral("unknown option \"%1\"").arg(printable(word)) +
               didYouMean(word, optionNames(command));
    }
    if (!commands.isEmpty()) {
        return QStringLiteral("no command given; use %1").arg(commands.join(QStringLiteral(", ")));
    }
    if (!remaining.empty()) {
        return QStringLiteral("unexpected argument \"%1\"").arg(printable(takeText(remaining.front())));
    }
    return text;
}

ExitCode report(const CLI::App& app, const CLI::ParseError& error, Console& console)
{
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        app.exit(error, text, text);
        console.out(QString::fromStdString(text.str()));
        return Done;
    }
    console.error(mistakeIn(app, error));
    console.info(QStringLiteral("see \"%1 --help\"").arg(fullName(innermostCommand(app))));
    return Usage;
}

} // namespace

CommandOption::CommandOption(CLI::Option* option, std::string initial)
    : m_option(option)
    , m_initial(std::move(initial))
{}

CommandOption& CommandOption::placeholder(const char* text)
{
    m_option->type_name(text);
    return *this;
}

CommandOption& CommandOption::group(const char* title)
{
    m_option->group(title);
    return *this;
}

CommandOption& CommandOption::showDefault()
{
    m_option->default_str(m_initial);
    return *this;
}

CommandOption& CommandOption::required()
{
    m_option->required();
    return *this;
}

CommandOption& CommandOption::repeatable()
{
    m_option->allow_extra_args(false);
    return *this;
}

CommandOption& CommandOption::listed()
{
    m_option->delimiter(',')->allow_extra_args(false);
    return *this;
}

CommandOption& CommandOption::oneOf(const QStringList& values)
{
    const auto mistake = [values](const std::string& argument) {
        const QString text = takeText(argument);
        return values.contains(text) ? std::string()
                                     : QStringLiteral("expected %1, got \"%2\"")
                                           .arg(values.join(QStringLiteral(" or ")), printable(text))
                                           .toStdString();
    };
    m_option->check(
        CLI::Validator(mistake, qPrintable(QStringLiteral("{%1}").arg(values.join(QLatin1Char(','))))));
    return *this;
}

CommandOption& CommandOption::between(int least, int most)
{
    const QString range = QStringLiteral("%1 to %2").arg(least).arg(most);
    m_option->check(
        numberBetween(least, most, QStringLiteral("a whole number from ") + range, qPrintable(range)));
    return *this;
}

CommandOption& CommandOption::between(double least, double most)
{
    const QString range = QStringLiteral("%1 to %2").arg(least).arg(most);
    m_option->check(numberBetween(least, most, QStringLiteral("a number from ") + range, qPrintable(range)));
    return *this;
}

CommandOption& CommandOption::positive()
{
    m_option->check(
        numberBetween(1, std::numeric_limits<int>::max(), QStringLiteral("a whole number from 1"), "from 1"));
    return *this;
}

CommandOption& CommandOption::excludes(const CommandOption& other)
{
    m_option->excludes(other.m_option);
    return *this;
}

CommandParser::CommandParser(CLI::App* app, std::shared_ptr<Runnables> runnables)
    : m_app(app)
    , m_runnables(std::move(runnables))
{}

CommandParser CommandParser::addCommand(const char* name, const QString& description)
{
    m_app->require_subcommand(isRunnable() ? 0 : 1, 1);
    return {m_app->add_subcommand(name, description.toStdString()), m_runnables};
}

CommandOption CommandParser::add(const char* name, QString& value, const QString& description)
{
    const auto take = [&value](const std::string& text) { value = takeText(text); };
    return {m_app->add_option_function<std::string>(name, take, description.toStdString()),
            value.toStdString()};
}

CommandOption CommandParser::add(const char* name, QStringList& value, const QString& description)
{
    const auto take = [&value](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            value << takeText(text);
        }
    };
    return {m_app->add_option_function<std::vector<std::string>>(name, take, description.toStdString()), {}};
}

CommandOption CommandParser::add(const char* name, int& value, const QString& description)
{
    CLI::Option* const option = m_app->add_option(name, value, description.toStdString());
    option->check(numberBetween(std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                                QStringLiteral("a whole number"), ""));
    return {option, QString::number(value).toStdString()};
}

CommandOption CommandParser::add(const char* name, double& value, const QString& description)
{
    return {m_app->add_option(name, value, description.toStdString()), QString::number(value).toStdString()};
}

CommandOption CommandParser::addFlag(const char* name, bool& value, const QString& description)
{
    return {m_app->add_flag(name, value, description.toStdString()), {}};
}

void CommandParser::setFooter(const QString& text)
{
    m_app->footer(text.toStdString());
}

bool CommandParser::isRunnable() const
{
    return std::any_of(m_runnables->begin(), m_runnables->end(),
                       [this](const Runnable& one) { return one.command == m_app; });
}

void CommandParser::setRun(Run run)
{
    m_runnables->push_back({m_app, std::move(run), {}});
}

void CommandParser::setHelp(std::function<QString(const QStringList& arguments)> help)
{
    m_runnables->back().help = std::move(help);
}

CommandLineParser::CommandLineParser()
    : CommandLineParser(std::make_unique<CLI::App>(
          "Drives the controllers of LED walls from the command line.", "tesselctl"))
{}

CommandLineParser::CommandLineParser(std::unique_ptr<CLI::App> app)
    : CommandParser(app.get(), std::make_shared<Runnables>())
    , m_owned(std::move(app))
{
    m_app->set_version_flag("--version", "tesselctl " TESSEL_VERSION, "print the version and exit");
    m_app->set_help_flag("-h,--help", "print this help and exit");
    m_app->fallthrough();
}

CommandLineParser::~CommandLineParser() = default;

std::variant<CommandParser::Run, ExitCode> CommandLineParser::parse(int argc, char** argv, Console& console)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    for (std::string& argument : arguments) {
        argument = marked(argument);
    }
    std::reverse(arguments.begin(), arguments.end()); // CLI11 takes them from the end
    try {
        m_app->parse(arguments);
    } catch (const CLI::CallForHelp& error) {
        const CLI::App& command = innermostCommand(*m_app);
        for (const Runnable& one : *m_runnables) {
            const QString text =
                one.command == &command && one.help ? one.help(positionalsOf(command)) : QString();
            if (!text.isEmpty()) {
                console.out(text);
                return Done;
            }
        }
        return report(*m_app, error, console);
    } catch (const CLI::ParseError& error) {
        return report(*m_app, error, console);
    }
    const CLI::App& innermost = innermostCommand(*m_app);
    const auto named = std::find_if(m_runnables->begin(), m_runnables->end(),
                                    [&innermost](const Runnable& one) { return one.command == &innermost; });
    if (named == m_runnables->end()) {
        qFatal("a command of the parser has no setRun()");
    }
    return named->run;
}

} // namespace TesselCtl
