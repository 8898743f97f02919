// SPDX-License-Identifier: MIT
#ifndef TESTS_PEERS_PEERPROCESS_H
#define TESTS_PEERS_PEERPROCESS_H

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <csignal>

/// A server of another maker as a child process, in a directory and a session of its own. It ends with this
/// object, its own children included, and also when the test is killed. Used by one thread.
class PeerProcess
{
public:
    /// Where Debian installs @p program, or else where PATH has it; empty when it is not installed.
    static QString find(const QString& program);

    PeerProcess() = default;
    /// Kills what still runs.
    ~PeerProcess();

    /// Where configurations go; empty at first.
    QString directory() const { return m_directory.path(); }
    /// Writes a file into the directory. @return whether that worked.
    bool write(const QString& name, const QByteArray& text) const;

    /// Starts @p program there and waits for @p ready in what it prints. @return whether it came.
    bool start(const QString& program, const QStringList& arguments, const QByteArray& ready);
    /// Waits until @p text has come, behind what was waited for before. @return whether it came; false at
    /// once when the process ends.
    bool waitForOutput(const QByteArray& text) { return waitForOutput(text, QDeadlineTimer(timeout)); }
    /// Signals the process itself, none of its children, until @p text comes. @return whether it came.
    bool signalUntilOutput(int signal, const QByteArray& text);
    /// Signals the process itself until it ends. @return whether it did.
    bool signalUntilEnd(int signal);
    /// Ends it at once, as a loss of power would.
    bool crash();

    /// What it printed, for a test to tell.
    QByteArray output() const { return m_output; }

private:
    static constexpr int timeout = 30000;

    bool waitForOutput(const QByteArray& text, const QDeadlineTimer& deadline);
    bool waitForEnd(int milliseconds);
    void send(int signal) const;
    bool readMore();

    QTemporaryDir m_directory;
    QProcess m_keeper; ///< a shell that ends the process when the test is gone
    qint64 m_peer = 0; ///< its process id, that of its group too
    QByteArray m_output;
    int m_seen = 0; ///< how much of the output was waited for
    Q_DISABLE_COPY_MOVE(PeerProcess)
};

/// Ports of 127.0.0.1 where nobody listens and that no program gets unless it asks for them, so that a server
/// finds them free again after its restart.
QList<quint16> freePorts(int count);

/// Whether all peers must be there: then one that is missing is a failure, and not left out.
bool arePeersRequired();

/// Leaves a test function out, and from initTestCase() the whole test program, when the program of a peer was
/// not found.
#define REQUIRE_PEER(program, package)                                                                       \
    do {                                                                                                     \
        if ((program).isEmpty()) {                                                                           \
            const QByteArray missing =                                                                       \
                QByteArray(package) + " is not installed: apt-get install " + package;                       \
            if (arePeersRequired()) {                                                                        \
                QFAIL(missing.constData());                                                                  \
            }                                                                                                \
            QSKIP(missing.constData());                                                                      \
        }                                                                                                    \
    } while (false)

#endif
