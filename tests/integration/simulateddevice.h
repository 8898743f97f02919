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
    using Endpoint = Krelm::Communicator::HttpDevice::DeviceEndpoint;

    /// Bodies that the description of the device API calls wrong are refused, or else only noted.
    enum class Bodies { Checked, Noted };

    explicit SimulatedDevice(const Tessel::Simulator::Options& options = {}, Bodies bodies = Bodies::Checked)
        : simulator(with(options, bodies))
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
    bool add() { return add(endpoint()); }
    /// Makes the key known as a device at @p address, where the controller need not be.
    bool add(const QString& address)
    {
        Endpoint endpoint;
        endpoint.address = address;
        return add(endpoint);
    }
    bool add(const Endpoint& endpoint) { return HttpProxy::getInstance()->addDevice(key, endpoint); }

    /// The running controller with the login that it asks for, and its key pinned if it has one.
    Endpoint endpoint() const
    {
        const auto options = simulator.options();
        Endpoint endpoint;
        endpoint.address = simulator.baseUrl();
        endpoint.user = options.user;
        endpoint.secret = options.secret;
        endpoint.pinnedKey = simulator.pinnedKey();
        switch (options.login) {
        case Tessel::Simulator::Login::None:
            break;
        case Tessel::Simulator::Login::Basic:
            endpoint.login = Endpoint::Login::Basic;
            break;
        case Tessel::Simulator::Login::Digest:
            endpoint.login = Endpoint::Login::Digest;
            break;
        case Tessel::Simulator::Login::Bearer:
            endpoint.login = Endpoint::Login::Bearer;
            break;
        }
        return endpoint;
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

private:
    static Tessel::Simulator::Options with(Tessel::Simulator::Options options, Bodies bodies)
    {
        options.strict = bodies == Bodies::Checked;
        return options;
    }
};

#endif
