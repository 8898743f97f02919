// SPDX-License-Identifier: MIT
#ifndef TESTS_PEERS_LOAD_H
#define TESTS_PEERS_LOAD_H

#include <communicator/deviceendpoint.h>
#include <communicator/exchangeobserver.h>
#include <communicator/httpproxy.h>
#include <simulator/simulator.h>

#include <QHash>
#include <QThread>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger;

class FrontProxy;

/// How often a peer carried out each write, by its id.
using Counts = QHash<QByteArray, int>;

/// A device that the transport knows under a key of its own while this exists.
struct KnownDevice
{
    explicit KnownDevice(const DeviceEndpoint& endpoint);
    ~KnownDevice();
    const QString key;
    Q_DISABLE_COPY_MOVE(KnownDevice)
};

enum class Verb { Get, Put, Post };

/// What a caller does next.
struct Step
{
    std::chrono::microseconds pause{0}; ///< since its last reply
    Verb verb = Verb::Put;
};

/// What the system knew of a caller's connection just before a call.
enum class Connection {
    None, ///< there was none: the call opens one
    Open, ///< the peer had not ended it: if it does now, nobody can tell whether it heard the call
    Ended ///< the peer had ended it, and the transport can see that
};

/// One call and its outcome.
struct Call
{
    QByteArray id; ///< of this call alone; in its query, and of a write in its body
    Verb verb = Verb::Put;
    Connection connection = Connection::None;
    State::HttpSimpleState state = State::Success;
    int status = 0;
    QString reason;       ///< why it failed
    bool hasData = false; ///< something of the reply could be taken for data
};

/// Callers that call their devices at the same time, one for each device. Every other one blocks, on a thread
/// of its own; the others share a thread. Used by one thread.
class Load
{
public:
    /// Each endpoint needs a port that no other has, by which its connection is found.
    explicit Load(const QList<DeviceEndpoint>& endpoints);
    ~Load();

    /// What a caller, by its number, does after the calls that it made; nothing: it has done all. Called on
    /// the callers' threads.
    using Plan = std::function<std::optional<Step>(int caller, const std::vector<Call>& calls)>;
    void start(Plan plan);
    /// Waits until so many calls have ended in all. @return whether they have.
    bool waitForCalls(int count);
    int endedCalls() const;
    /// Waits until all callers have done all. @return their calls.
    std::vector<std::vector<Call>> finish();

private:
    struct Caller
    {
        explicit Caller(const DeviceEndpoint& endpoint);
        const KnownDevice device;
        const quint16 port;
        std::vector<Call> calls; ///< on the caller's thread
    };
    Call begin(int caller, Verb verb) const;
    void end(int caller, Call call, const Krelm::Communicator::HttpDevice::HttpJsonPackage& package);
    void callBlocking(int caller);
    void callNonBlocking();

    std::vector<std::unique_ptr<Caller>> m_callers;
    Plan m_plan;
    std::vector<std::unique_ptr<QThread>> m_threads;
    mutable std::mutex m_mutex; ///< guards the three below
    std::condition_variable m_ended;
    int m_endedCalls = 0;
    QHash<QByteArray, QString> m_reasons; ///< of failures, by the call's id
    Krelm::Communicator::HttpDevice::ObserverHandle m_observer;
    Q_DISABLE_COPY_MOVE(Load)
};

/// What came of many calls.
struct Verdict
{
    int writes = 0;
    int reads = 0;
    int onOpen = 0;              ///< calls that found their connection open
    int onEnded = 0;             ///< calls that found it ended by the peer
    int lost = 0;                ///< told as done and not carried out, or failed though nothing hindered them
    int doubled = 0;             ///< carried out more than once
    int undecidable = 0;         ///< writes whose connection ended just as they went out, told as failures
    int undecidableExecuted = 0; ///< how many of them the peer carried out
    int refused = 0;             ///< calls that could not be sent while the peer was away
    QStringList faults;          ///< each lost or doubled write, and whatever else may not be

    QByteArray text() const;
};

enum class Peer {
    Stays, ///< ends connections that are silent, and no others
    Restarts
};

/// Compares what callers were told with what the peer carried out.
Verdict judge(const std::vector<std::vector<Call>>& calls, const Counts& executed, Peer peer);

/// Writes and reads with pauses around @p idleLimit, in milliseconds, after which the peer ends a silent
/// connection: well within it, well beyond it, and most of them just then. 1,000 writes of 100 endpoints.
Verdict writeAroundTheIdleLimit(const QList<DeviceEndpoint>& endpoints, int idleLimit,
                                const std::vector<Verb>& verbs, const std::function<Counts()>& executed);

/// Writes and reads of all endpoints while @p proxy, in front of @p simulator, is reloaded, crashes and is
/// restarted, each amid some writes that take the simulator longer. At the end each caller calls once more.
Verdict writeDuringRestarts(const QList<DeviceEndpoint>& endpoints, FrontProxy& proxy,
                            Tessel::Simulator::Simulator& simulator);

/// A simulator that keeps in mind all requests of a test, and all events.
Tessel::Simulator::Options longMemory();
/// What @p simulator carried out, once nothing is under way.
Counts executedBy(const Tessel::Simulator::Simulator& simulator);

#endif
