// SPDX-License-Identifier: MIT
#include <simulator/simulator.h>

#include <simulator/http/httpserver.h>
#include <simulator/http/iothreads_p.h>
#include <simulator/text/jsontools.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>

namespace Tessel::Simulator {
namespace {

std::string_view view(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

QStringList numbers(std::size_t count)
{
    QStringList ids;
    for (std::size_t i = 1; i <= count; ++i) {
        ids.append(QString::number(i));
    }
    return ids;
}

QString hostText(const QString& bindAddress)
{
    if (bindAddress == QLatin1String("0.0.0.0")) {
        return QStringLiteral("127.0.0.1");
    }
    if (bindAddress == QLatin1String("::")) {
        return QStringLiteral("[::1]");
    }
    return bindAddress.contains(QLatin1Char(':')) ? QLatin1Char('[') + bindAddress + QLatin1Char(']')
                                                  : bindAddress;
}

} // namespace

class Simulator::Private
{
public:
    Private(const Options& wanted, std::shared_ptr<IoThreads> shared)
        : device(wanted)
        , threads(std::move(shared))
    {}

    /// Once: clients may have pinned its key.
    void makeCertificate()
    {
        if (device.options().tls && !certificate()) {
            auto made = std::make_shared<const Certificate>(device.options().bindAddress.toStdString());
            const std::lock_guard lock(mutex);
            shownCertificate = std::move(made);
        }
    }
    std::shared_ptr<const Certificate> certificate() const
    {
        const std::lock_guard lock(mutex);
        return shownCertificate;
    }

    Device device;
    std::shared_ptr<IoThreads> threads; ///< null until started when it has its own
    std::unique_ptr<HttpServer> server; ///< used by start() and stop() only
    std::atomic<quint16> port{0};       ///< 0 if not running
    mutable std::mutex mutex;           ///< guards all members below
    QString error;
    std::shared_ptr<const Certificate> shownCertificate; ///< null without TLS or before the first start
};

Simulator::Simulator(const Options& options)
    : Simulator(options, nullptr)
{}

Simulator::Simulator(const Options& options, std::shared_ptr<IoThreads> threads)
    : d(std::make_unique<Private>(options, std::move(threads)))
{
    RouteTable::instance();
}

Simulator::~Simulator()
{
    stop();
}

bool Simulator::start()
{
    if (d->server) {
        return true;
    }
    QString error;
    try {
        if (!d->threads) {
            d->threads = std::make_shared<IoThreads>();
        }
        d->makeCertificate();
        d->server = std::make_unique<HttpServer>(d->threads->d().context, d->device, d->certificate());
        d->port = d->server->port();
    } catch (const std::exception& failure) {
        const Options& wanted = d->device.options();
        error = QStringLiteral("cannot listen on %1 port %2: %3")
                    .arg(wanted.bindAddress, QString::number(wanted.port),
                         QString::fromLocal8Bit(failure.what()));
    }
    const std::lock_guard lock(d->mutex);
    d->error = error;
    return error.isEmpty();
}

void Simulator::stop()
{
    d->port = 0;
    d->server.reset();
}

bool Simulator::isRunning() const
{
    return d->port != 0;
}

QString Simulator::errorString() const
{
    const std::lock_guard lock(d->mutex);
    return d->error;
}

QString Simulator::address() const
{
    const quint16 now = d->port;
    return now == 0 ? QString()
                    : hostText(d->device.options().bindAddress) + QLatin1Char(':') + QString::number(now);
}

QString Simulator::baseUrl() const
{
    const QString now = address();
    return now.isEmpty() ? now : QLatin1String(d->device.options().tls ? "https://" : "http://") + now;
}

QByteArray Simulator::certificate() const
{
    const auto shown = d->certificate();
    return shown ? QByteArray::fromStdString(shown->pem()) : QByteArray();
}

QString Simulator::pinnedKey() const
{
    const auto shown = d->certificate();
    return shown ? QString::fromStdString(shown->pin()) : QString();
}

quint16 Simulator::port() const
{
    return d->port;
}

Options Simulator::options() const
{
    return d->device.options();
}

quint64 Simulator::pushEvent(const QByteArray& event)
{
    return d->device.events().publish(view(event));
}

quint64 Simulator::pushWarning(const QString& eventType, const QByteArray& data)
{
    const auto parsed = data.isEmpty() ? nlohmann::json() : parseJson(view(data));
    return parsed.is_discarded() ? 0 : d->device.state().warn(eventType.toStdString(), parsed);
}

int Simulator::eventStreams() const
{
    return d->device.events().streams();
}

bool Simulator::waitForEventStreams(int count, int milliseconds) const
{
    return d->device.events().waitForStreams(count, std::chrono::milliseconds(milliseconds));
}

void Simulator::restartDevice()
{
    d->device.restart();
}

void Simulator::forgetEvents()
{
    d->device.events().forget();
}

void Simulator::setEventMemory(int events)
{
    d->device.events().setMemory(static_cast<std::size_t>(std::max(0, events)));
}

void Simulator::disconnectStreams()
{
    d->device.disconnectStreams();
}

void Simulator::logoutDevice()
{
    d->device.logout();
}

void Simulator::loginDevice()
{
    d->device.login();
}

QString Simulator::replaceToken(const QString& token)
{
    return QString::fromStdString(d->device.loginGate().replaceToken(token.toStdString()));
}

void Simulator::expireToken()
{
    d->device.loginGate().expireToken();
}

void Simulator::addFault(const Fault& fault)
{
    d->device.faults().add(fault);
}

void Simulator::clearFaults()
{
    d->device.faults().clear();
}

QByteArray Simulator::value(const QString& path) const
{
    const SharedText text = d->device.read(path.toStdString());
    return text ? QByteArray::fromStdString(nlohmann::json::parse(*text).at("data").dump()) : QByteArray();
}

bool Simulator::setValue(const QString& path, const QByteArray& json)
{
    return d->device.write(path.toStdString(), view(json));
}

QByteArray Simulator::coefficients(const QString& cabinet, CoefficientKind kind, CoefficientBank bank) const
{
    return QByteArray::fromStdString(
        d->device.state().coefficients().table(cabinet.toStdString(), kind, bank));
}

CoefficientBank Simulator::shownCoefficients(const QString& cabinet) const
{
    return d->device.state().coefficients().shown(cabinet.toStdString());
}

CoefficientCounts Simulator::coefficientCounts(CoefficientKind kind) const
{
    return d->device.state().coefficients().counts(kind);
}

quint64 Simulator::requestCount() const
{
    return d->device.requests().counts().requests;
}

quint64 Simulator::requestCount(const QString& path) const
{
    return d->device.requests().count(path.toStdString());
}

int Simulator::requestsInFlight() const
{
    return d->device.requests().counts().inFlight;
}

int Simulator::peakRequestsInFlight() const
{
    return d->device.requests().counts().peakInFlight;
}

QList<RequestRecord> Simulator::requests() const
{
    QList<RequestRecord> records;
    for (const auto& entry : d->device.requests().entries()) {
        RequestRecord record;
        record.method = QByteArray::fromStdString(entry.method);
        record.path = QString::fromStdString(entry.path);
        record.query = QByteArray::fromStdString(entry.query);
        record.contentType = QByteArray::fromStdString(entry.contentType);
        record.body = QByteArray::fromStdString(entry.body);
        record.bodySize = static_cast<qint64>(entry.bodySize);
        record.status = entry.status;
        record.mistake = QString::fromStdString(entry.mistake);
        records.append(record);
    }
    return records;
}

void Simulator::resetCounts()
{
    d->device.requests().reset();
    d->device.state().coefficients().resetCounts();
}

void Simulator::reset()
{
    d->device.reset();
}

QStringList Simulator::screenIds() const
{
    return numbers(d->device.wall().screens());
}

QStringList Simulator::cabinetIds() const
{
    return numbers(d->device.wall().cabinets());
}

} // namespace Tessel::Simulator
