// SPDX-License-Identifier: MIT
#ifndef TESTS_TESSELCTL_TERMINALPROGRAM_H
#define TESTS_TESSELCTL_TERMINALPROGRAM_H

#include <QByteArray>
#include <QDeadlineTimer>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStringList>

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

/// A tesselctl on a terminal of its own; killed when it outlives its test.
class TerminalProgram
{
public:
    /// @p environment holds NAME=VALUE beyond what the test itself has.
    explicit TerminalProgram(const QStringList& arguments, const QStringList& environment = {},
                             unsigned short columns = 80)
    {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.remove("NO_COLOR");
        variables.insert("XDG_CONFIG_HOME", "/dev/null");
        variables.remove("TESSELCTL_DEVICES");
        variables.insert("TERM", "xterm");
        for (const QString& entry : environment) {
            variables.insert(entry.section('=', 0, 0), entry.section('=', 1));
        }
        // All is made before the fork, after which only exec may follow.
        Words words(QStringList{TESSELCTL_PROGRAM} + arguments);
        Words values(variables.toStringList());
        const winsize size{24, columns, 0, 0};
        m_process = forkpty(&m_terminal, nullptr, nullptr, &size);
        if (m_process == 0) {
            ::execve(TESSELCTL_PROGRAM, words.pointers.data(), values.pointers.data());
            ::_exit(127);
        }
    }
    ~TerminalProgram()
    {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
        }
        ::close(m_terminal);
    }

    /// Types on the keyboard.
    void type(const QByteArray& keys) const
    {
        if (::write(m_terminal, keys.constData(), static_cast<size_t>(keys.size())) != keys.size()) {
            qFatal("the terminal takes no keys");
        }
    }
    /// Everything that the terminal showed so far.
    const QByteArray& shown() const { return m_shown; }
    /// Whether the terminal comes to show what @p pattern matches, within a minute.
    bool shows(const QString& pattern)
    {
        const QRegularExpression expected(pattern);
        const QDeadlineTimer deadline(60000);
        while (!expected.match(QString::fromUtf8(m_shown)).hasMatch()) {
            if (!readMore(deadline)) {
                return false;
            }
        }
        return true;
    }
    /// Waits for the end. @return the exit code, or the negative number of the signal that ended it.
    int finish()
    {
        const QDeadlineTimer deadline(60000);
        while (readMore(deadline)) {
        }
        if (deadline.hasExpired()) {
            ::kill(m_process, SIGKILL);
        }
        int status = 0;
        ::waitpid(m_process, &status, 0);
        m_process = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    /// Whether the terminal shows what is typed.
    bool echoes() const
    {
        termios settings{};
        return tcgetattr(m_terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }

private:
    /// Texts in the form that exec takes.
    struct Words
    {
        explicit Words(const QStringList& list)
        {
            texts.reserve(static_cast<size_t>(list.size()));
            for (const QString& text : list) {
                texts.push_back(text.toLocal8Bit());
                pointers.push_back(texts.back().data());
            }
            pointers.push_back(nullptr);
        }
        std::vector<QByteArray> texts;
        std::vector<char*> pointers;
    };

    // False once nothing can be shown any more.
    bool readMore(const QDeadlineTimer& deadline)
    {
        pollfd awaited{m_terminal, POLLIN, 0};
        char bytes[4096];
        if (::poll(&awaited, 1, static_cast<int>(deadline.remainingTime())) <= 0) {
            return false;
        }
        const ssize_t count = ::read(m_terminal, bytes, sizeof bytes);
        if (count > 0) {
            m_shown.append(bytes, static_cast<int>(count));
        }
        return count > 0;
    }

    int m_terminal = -1;
    pid_t m_process = -1;
    QByteArray m_shown;
    Q_DISABLE_COPY_MOVE(TerminalProgram)
};

#endif
