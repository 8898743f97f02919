// SPDX-License-Identifier: MIT
#ifndef BENCH_SOAK_SOAKDEVICE_H
#define BENCH_SOAK_SOAKDEVICE_H

#include <communicator/deviceendpoint.h>
#include <simulator/simulator.h>

#include <QRandomGenerator>
#include <QStringList>

#include <memory>

/// A simulated controller that misbehaves, and is changed by others than the application. All functions but
/// the first may be called while the application uses the device.
class SoakDevice
{
public:
    /// The device number @p number of a fleet, in which protocols, logins and TLS are mixed.
    SoakDevice(int number, std::shared_ptr<Tessel::Simulator::IoThreads> threads);

    bool start() { return simulator.start(); }
    /// What the application has to know of it. A bearer login gets its next token from the device itself.
    Krelm::Communicator::HttpDevice::DeviceEndpoint endpoint();

    /// One fault of many kinds: replies that are cut, slow or refused, ended streams, restarts, forgotten
    /// events, expired tokens, absences.
    void misbehave(QRandomGenerator& random);
    /// Changes one of the values that are cached, as another application would, or pushes a warning.
    void changeByItself(QRandomGenerator& random);
    /// Brings a device that is absent back after a while; call it now and then.
    void advance();
    /// Ends all misbehaviour.
    void behave();

    Tessel::Simulator::Simulator simulator;
    const QString key;
    const QStringList cabinets;

private:
    void breakReplies(QRandomGenerator& random);

    int m_absentFor = 0; ///< calls of advance() until it is back
};

#endif
