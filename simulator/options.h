// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include <tessel/protocols.h>

#include <QString>
#include <QtGlobal>

namespace Tessel::Simulator {

using Tessel::Protocol;

/// What a simulated controller is made of. A count of -1 takes the usual one of its protocol.
struct Options
{
    Protocol protocol = Protocol::MultiScreen; ///< which of the two protocols it speaks
    int screens = -1;       ///< usually 1 or 2; a single-screen controller has one, whatever stands here
    int cabinets = -1;      ///< usually 16 or 240; at most 10000; 0 is a controller without cabinets
    int receivingCards = 1; ///< receiving cards per cabinet, 1 to 16
    int inputs = -1;        ///< usually 2 or 4; 1 to 256
    quint32 seed = 1;       ///< serial numbers, temperatures and the like follow from it
    QString name;           ///< model name; empty: the one of the protocol
    QString customName;     ///< the name its user gave; empty: a default

    QString bindAddress = QStringLiteral("127.0.0.1"); ///< an IP address; beyond loopback only when set so
    quint16 port = 0;                                  ///< 0: a free one
    bool control = false;                              ///< serve the control interface under /sim/

    int saveTime = 0;                              ///< milliseconds that saving coefficients takes
    int heartbeatInterval = 15000;                 ///< milliseconds between comments on silent event streams
    int eventHistory = 1000;                       ///< events kept for streams that resume with Last-Event-ID
    qint64 bodyLimit = 256LL * 1024 * 1024;        ///< bytes of one request body; larger ones answer 413
    qint64 coefficientLimit = 512LL * 1024 * 1024; ///< bytes of coefficients kept; more answer 507
    int headerLimit = 32 * 1024;                   ///< bytes of one request head; larger ones answer 431
    int idleTimeout = 120000;                      ///< milliseconds after which a silent connection is closed
    int maxConnections = 4096;                     ///< open connections; further ones are closed at once
    int requestLog = 1000;                         ///< requests kept for Simulator::requests(); 0: none
};

} // namespace Tessel::Simulator

#endif
