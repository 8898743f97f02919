// SPDX-License-Identifier: MIT
#include "soakdevice.h"

#include <simulator/iothreads.h>

#include <array>

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Tessel::Protocol;
using Tessel::Simulator::Fault;
using Tessel::Simulator::IoThreads;
using Tessel::Simulator::Login;
using Tessel::Simulator::Options;

namespace {

constexpr int eventMemory = 200;

Options optionsOf(int number)
{
    Options options;
    options.protocol = number % 4 == 0 ? Protocol::SingleScreen : Protocol::MultiScreen;
    options.cabinets = 16;
    options.seed = static_cast<quint32>(number);
    options.requestLog = 0;
    options.eventHistory = eventMemory;
    options.tls = number % 10 == 3;
    options.user = QStringLiteral("operator");
    options.secret = QStringLiteral("secret %1").arg(number);
    if (number % 5 == 1) {
        options.login = Login::Bearer;
        options.user.clear();
        options.secret = QStringLiteral("token-%1").arg(number);
        options.tokenLifetime = 15000;
    } else if (number % 5 == 2) {
        options.login = Login::Digest;
    } else {
        options.user.clear();
        options.secret.clear();
    }
    return options;
}

} // namespace

SoakDevice::SoakDevice(int number, std::shared_ptr<IoThreads> threads)
    : simulator(optionsOf(number), std::move(threads))
    , key(QStringLiteral("wall %1").arg(number))
    , cabinets(simulator.cabinetIds())
{}

DeviceEndpoint SoakDevice::endpoint()
{
    const Options options = simulator.options();
    DeviceEndpoint endpoint;
    endpoint.address = simulator.baseUrl();
    endpoint.pinnedKey = simulator.pinnedKey();
    endpoint.user = options.user;
    endpoint.secret = options.secret;
    if (options.login == Login::Bearer) {
        endpoint.login = DeviceEndpoint::Login::Bearer;
        endpoint.renewSecret = [this](const QString&) { return simulator.replaceToken(); };
    } else if (options.login == Login::Digest) {
        endpoint.login = DeviceEndpoint::Login::Digest;
    }
    return endpoint;
}

// Faults that only a time limit ends are for requests that the application's own thread does not wait for.
void SoakDevice::breakReplies(QRandomGenerator& random)
{
    constexpr std::array anyPath{Fault::Cut::None,     Fault::Cut::Truncate,    Fault::Cut::Close,
                                 Fault::Cut::End,      Fault::Cut::HalfHead,    Fault::Cut::Reset,
                                 Fault::Cut::LateBody, Fault::Cut::ShortLength, Fault::Cut::IdleNotice,
                                 Fault::Cut::Surplus};
    constexpr std::array endless{Fault::Cut::Stall, Fault::Cut::Drip, Fault::Cut::LongLength};
    Fault fault;
    fault.times = random.bounded(1, 4);
    fault.duration = 2000;
    fault.pause = random.bounded(1, 100);
    if (random.bounded(12) == 0) {
        fault.path = QStringLiteral("/api/v1/device/capability/chips");
        fault.cut = endless[random.bounded(quint32(endless.size()))];
    } else {
        fault.cut = anyPath[random.bounded(quint32(anyPath.size()))];
    }
    if (fault.cut == Fault::Cut::None) {
        switch (random.bounded(4)) {
        case 0:
            fault.delay = random.bounded(500);
            break;
        case 1:
            fault.status = 503;
            fault.retryAfter = "1";
            break;
        case 2:
            fault.status = 429;
            break;
        default:
            fault.status = 500;
            break;
        }
    }
    simulator.addFault(fault);
}

void SoakDevice::misbehave(QRandomGenerator& random)
{
    switch (random.bounded(12)) {
    case 0:
        simulator.disconnectStreams();
        break;
    case 1:
        simulator.restartDevice();
        break;
    case 2:
        simulator.forgetEvents();
        simulator.disconnectStreams();
        break;
    case 3:
        simulator.setEventMemory(random.bounded(4));
        simulator.disconnectStreams();
        break;
    case 4:
        simulator.logoutDevice();
        m_absentFor = random.bounded(1, 30);
        break;
    case 5:
        simulator.expireToken();
        break;
    default:
        breakReplies(random);
        break;
    }
}

void SoakDevice::changeByItself(QRandomGenerator& random)
{
    const int number = random.bounded(1, 100);
    const auto object = [&](const char* member) {
        return QByteArray("{\"") + member + "\":" + QByteArray::number(number) + '}';
    };
    switch (random.bounded(9)) {
    case 0:
        simulator.setValue(QStringLiteral("/api/v1/device/hw/displaymode"), object("displayMode"));
        break;
    case 1:
        simulator.setValue(QStringLiteral("/api/v1/device/hw/customname"),
                           "{\"customName\":\"Stand " + QByteArray::number(number) + "\"}");
        break;
    case 2:
        simulator.setValue(QStringLiteral("/api/v1/device/screen/1/brightness"), object("brightness"));
        break;
    case 3:
        simulator.setValue(
            QStringLiteral("/api/v1/device/cabinet/%1/weight").arg(cabinets[random.bounded(cabinets.size())]),
            object("weight"));
        break;
    case 4:
        simulator.setValue(QStringLiteral("/api/v1/device/pipeline/1/mirrormode"), object("mirrorMode"));
        break;
    case 5:
        simulator.setValue(QStringLiteral("/api/v1/device/output/1/enable"),
                           number % 2 == 0 ? R"({"enable":true})" : R"({"enable":false})");
        break;
    case 6:
        simulator.setValue(QStringLiteral("/api/v1/device/input"),
                           "[{\"id\":1,\"name\":\"Camera " + QByteArray::number(number) + "\"}]");
        break;
    case 7:
        simulator.pushWarning(QStringLiteral("temperature"));
        break;
    default:
        simulator.pushEvent("{\"dataType\":\"unheard of\",\"number\":" + QByteArray::number(number) + '}');
        break;
    }
}

void SoakDevice::advance()
{
    if (m_absentFor > 0 && --m_absentFor == 0) {
        simulator.loginDevice();
    }
}

void SoakDevice::behave()
{
    m_absentFor = 0;
    simulator.clearFaults();
    simulator.setEventMemory(eventMemory);
    simulator.loginDevice();
}
