// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include <tessel/protocols.h>

#include <QString>
#include <QtGlobal>

namespace Tessel::Simulator {

using Tessel::Protocol;

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

    int saveTime = 0;                              ///< milliseconds that saving coefficients takes
    int heartbeatInterval = 15000;                 ///< milliseconds between comments on idle event streams
    int eventHistory = 1000;                       ///< events kept for streams that resume with Last-Event-ID
    qint64 bodyLimit = 256LL * 1024 * 1024;        ///< maximum bytes of a request body; larger ones get 413
    qint64 coefficientLimit = 512LL * 1024 * 1024; ///< maximum bytes of stored coefficients; more gets 507
    int headerLimit = 32 * 1024;                   ///< maximum bytes of a request head; larger ones get 431
    int idleTimeout = 120000;                      ///< milliseconds after which an idle connection is closed
    int maxConnections = 4096;                     ///< open connections; further ones are closed at once
    int requestLog = 1000;                         ///< number of requests kept for Simulator::requests()
};

} // namespace Tessel::Simulator

#endif
