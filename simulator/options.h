// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include <simulator/fault.h>
#include <tessel/protocols.h>

#include <QList>
#include <QString>
#include <QtGlobal>

#include <array>

namespace Tessel::Simulator {

using Tessel::Protocol;

/// How clients have to log in: Basic is RFC 7617, Digest RFC 7616, Bearer RFC 6750.
enum class Login { None, Basic, Digest, Bearer };

/// A login and its name on the command line.
struct LoginName
{
    Login login;      ///< as the options have it
    const char* name; ///< as the command line has it
};

/// All of them.
inline constexpr std::array loginNames{LoginName{Login::None, "none"}, LoginName{Login::Basic, "basic"},
                                       LoginName{Login::Digest, "digest"},
                                       LoginName{Login::Bearer, "bearer"}};

/// The options of a simulated controller. A count of -1 selects the default of its protocol.
struct Options
{
    Protocol protocol = Protocol::MultiScreen; ///< which of the two protocols it speaks
    int screens = -1;       ///< 1 or 2 by default; a single-screen controller always has one
    int cabinets = -1;      ///< 16 or 240 by default; 0 to 10000
    int receivingCards = 1; ///< receiving cards per cabinet, 1 to 16
    int inputs = -1;        ///< 2 or 4 by default; 1 to 256
    quint32 seed = 1;       ///< seed of generated values such as serial numbers and temperatures
    QString name;           ///< model name; empty for the default of the protocol
    QString customName;     ///< name given by the user; empty for a default

    QString bindAddress = QStringLiteral("127.0.0.1"); ///< the IP address on which to listen
    quint16 port = 0;                                  ///< TCP port; 0 picks a free one
    bool control = false;                              ///< enables the control interface under /sim/
    bool strict = false;       ///< refuses bodies that are not as the description of the device API says
    bool tellMistakes = false; ///< writes each kind of such a mistake to standard error, once

    int saveTime = 0;                              ///< milliseconds that saving coefficients takes
    int heartbeatInterval = 15000;                 ///< milliseconds between comments on idle event streams
    int eventHistory = 1000;                       ///< events kept for streams that resume with Last-Event-ID
    qint64 bodyLimit = 256LL * 1024 * 1024;        ///< maximum bytes of a request body; larger ones get 413
    qint64 coefficientLimit = 512LL * 1024 * 1024; ///< maximum bytes of stored coefficients; more gets 507
    int headerLimit = 32 * 1024;                   ///< maximum bytes of a request head; larger ones get 431
    int idleTimeout = 120000;  ///< milliseconds after which a connection without a request, or whose client
                               ///< does not read, is closed
    int headTimeout = 10000;   ///< milliseconds for a whole request head, and for a new connection to send it
    int bodyTimeout = 30000;   ///< milliseconds between two pieces of a body, and for each 4 KiB on average
    int maxConnections = 4096; ///< open connections; further ones are closed at once
    int maxConnectionsPerPeer = 3072; ///< the same for each address that clients connect from
    int maxHalfOpen = 2048;           ///< connections whose request has not come whole; beyond it, the oldest
                                      ///< of the address that has the most is closed
    int maxHalfOpenPerPeer = 1024;    ///< the same for each address
    qint64 bodyMemory = 1024LL * 1024 * 1024; ///< bytes of all request bodies being received, half of it for
                                              ///< each address; what exceeds it gets 503
    int requestLog = 1000;                    ///< number of requests kept for Simulator::requests()
    QList<Fault> faults;                      ///< pending from the start

    Login login = Login::None;  ///< which login every request needs, except those to the control interface
    QString user;               ///< the user name of Basic and Digest
    QString secret;             ///< the password, or the token of Bearer
    int tokenLifetime = 0;      ///< milliseconds for which a token is valid; 0: until it is replaced
    int nonceLifetime = 300000; ///< milliseconds for which a nonce of Digest is valid
    bool tls = false;           ///< serves HTTPS, with a certificate of its own that the first start makes
};

} // namespace Tessel::Simulator

#endif
