// SPDX-License-Identifier: MIT
#ifndef TESTS_SIMULATEDDEVICE_H
#define TESTS_SIMULATEDDEVICE_H

#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <simulator/simulator.h>
#include <tessel/allurlresource.h>

/// A simulated controller that the transport knows under a key of its own: operators and their caches outlive
/// a test function.
class SimulatedDevice
{
    using HttpProxy = Krelm::Communicator::HttpDevice::HttpProxy;

public:
    explicit SimulatedDevice(const Tessel::Simulator::Options& options = {})
        : simulator(options)
        , key(freshKey())
    {}
    ~SimulatedDevice() { HttpProxy::getInstance()->removeDevice(key); }
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    /// Starts the controller and makes it known. @return whether requests can be answered.
    bool start() { return simulator.start() && add(); }
    /// The same with its event stream open.
    bool startWithEvents()
    {
        HttpProxy::getInstance()->initialize(true);
        return start() && simulator.waitForEventStreams(1);
    }
    bool add() { return add(simulator.address()); }
    /// Makes the key known as a device at @p address, where the controller need not be.
    bool add(const QString& address)
    {
        Krelm::Communicator::HttpDevice::DeviceEndpoint endpoint;
        endpoint.address = address;
        return HttpProxy::getInstance()->addDevice(key, endpoint);
    }

    /// Requests to the path of a route key without placeholders.
    int requests(const char* routeKey) const
    {
        return static_cast<int>(
            simulator.requestCount(AllUrlResource::getUrl(QString::fromLatin1(routeKey))));
    }
    /// All requests; event streams among them.
    int requests() const { return static_cast<int>(simulator.requestCount()); }

    /// A key that no device of this process has had, and that is not looked up as a host name.
    static QString freshKey()
    {
        static int number = 0;
        return QStringLiteral("wall %1").arg(++number);
    }

    Tessel::Simulator::Simulator simulator;
    const QString key;
};

#endif
