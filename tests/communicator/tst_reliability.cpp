// SPDX-License-Identifier: MIT
//
// Compares how each form of a request ends under each fault with the tables in docs/reliability.md. With
// --write the program updates the document instead.
#include "communicator/events/connectionboard.h"
#include "communicator/events/eventchannels.h"
#include "communicator/exchangeobserver.h"
#include "communicator/runtime/postedcall.h"
#include "enginebench.h"
#include "reliabilityfaults.h"
#include "tests/documents/document.h"
#include "tlsfront.h"

#include <closedport.h>
#include <logcollector.h>

#include <communicator/httpmutilpartpackage.h>
#include <communicator/httpproxy.h>
#include <tessel/frames/grouprequest.h>
#include <tessel/frames/promiserequest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <set>
#include <thread>

using namespace std::chrono_literals;

namespace {

const char page[] = "docs/reliability.md";
const QString wall = QStringLiteral("wall");
const QString success = QStringLiteral("Success");

// The time limit where only the limit can end a fault, and where it must not be reached.
constexpr int shortLimit = 400;
constexpr int ampleLimit = 60000;
// Tolerance for a busy machine.
constexpr int maxLateness = 2000;
constexpr qint64 maxMemory = qint64(64) << 20;

// In place of 256 MiB, 512 MiB and 16 GiB; more than the tokens of the largest reply that may be decoded.
TransferLimits tableLimits()
{
    TransferLimits limits;
    limits.bodyBytes = 16 << 20;
    limits.allBodiesBytes = 24 << 20;
    limits.downloadBytes = 24 << 20;
    return limits;
}

QString nameOf(State::HttpSimpleState state)
{
    static const char* const names[] = {"Success",    "InvalidRequest", "HostNotFound", "Unreachable",
                                        "TimedOut",   "Broken",         "HttpFailure",  "LimitExceeded",
                                        "TlsFailure", "FileFailure",    "Aborted"};
    return QLatin1String(names[state]);
}

/// By how much the process has grown at its peak.
class PeakMemory
{
public:
    PeakMemory()
    {
        QFile peak(QStringLiteral("/proc/self/clear_refs"));
        m_isMeasured = peak.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && peak.write("5") == 1;
        m_before = read("VmRSS:");
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        m_isMeasured = false; // sanitizers keep what was freed
#endif
    }
    qint64 grown() const
    {
        return m_isMeasured ? read("VmHWM:") - m_before : 0;
    }

private:
    static qint64 read(const char* name)
    {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly)) {
            return 0;
        }
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith(name)) {
                return line.simplified().split(' ').value(1).toLongLong() * 1024;
            }
        }
        return 0;
    }

    bool m_isMeasured = false;
    qint64 m_before = 0;
};

/// How a request ended.
struct Outcome
{
    QString state;
    qint64 milliseconds = 0;
    std::optional<int> replies; ///< how often the reply was announced, where it is
};

/// The engine of the proxy: the one under test, with one limit for all requests.
class LimitedEngine final : public HttpEngine
{
public:
    LimitedEngine(Bench& bench, int limit)
        : m_bench(bench)
        , m_limit(limit)
    {}
    HttpReply exchange(const HttpRequest& request) override
    {
        return m_bench.engine.exchange(limited(request));
    }
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        return m_bench.engine.start(limited(request), std::move(done));
    }

private:
    HttpRequest limited(HttpRequest request) const
    {
        request.expectedTime = m_limit;
        return request;
    }

    Bench& m_bench;
    const int m_limit;
};

/// The state, and for a success whether it is the right one.
QString judged(State::HttpSimpleState state, bool isRight)
{
    return state == State::Success && !isRight ? QStringLiteral("Success, empty") : nameOf(state);
}

/// Reads the reply in each way in which an operation may.
bool isGood(const HttpJsonPackage& package)
{
    return package.getRoutesJsonDataListMap().isEmpty() && package.getJsonDataListMap().isEmpty() &&
           package.getRoutesJsonMap() == QVariantMap{{QStringLiteral("a"), 1}};
}

void prepare(HttpJsonPackage& package)
{
    package.setUrl(QStringLiteral("/api/v1/x"));
}

bool waitFor(const std::function<bool()>& done)
{
    return QTest::qWaitFor(done, 2 * ampleLimit);
}

Outcome blocking(Bench&)
{
    HttpJsonPackage package(nullptr);
    prepare(package);
    HttpProxy::getInstance()->getSync(wall, &package);
    return {judged(package.getSimpleState(), isGood(package)), 0, {}};
}

Outcome nonBlocking(Bench& bench)
{
    HttpJsonPackage package(nullptr);
    prepare(package);
    QSignalSpy answered(&package, &HttpJsonPackage::readyRead);
    HttpProxy::getInstance()->get(wall, &package);
    waitFor([&] { return !answered.isEmpty(); });
    bench.loop->run([] {}); // a second one would be on its way
    QCoreApplication::processEvents();
    return {judged(package.getSimpleState(), isGood(package)), 0, answered.count()};
}

Outcome promise(Bench& bench)
{
    QString state;
    int settled = 0;
    const auto promise =
        Tessel::PromiseRequest("Device_PipeInfo")
            .promise<QVariantMap>(&HttpProxy::get, wall,
                                  [&](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
                                      ++settled;
                                      const QVariantMap data = reply.getRoutesJsonMap();
                                      state = judged(reply.getSimpleState(), isGood(reply));
                                      Tessel::succeeded(reply) ? resolve(data) : reject();
                                  });
    waitFor([&] { return !promise.isPending(); });
    bench.loop->run([] {});
    QCoreApplication::processEvents();
    const bool isKept = promise.isFulfilled() == state.startsWith(success);
    return {isKept ? state : QStringLiteral("settled otherwise"), 0, settled};
}

Outcome download(Bench&)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("old.bin")));
    if (!file.open(QIODevice::WriteOnly) || file.write("old") != 3) {
        return {QStringLiteral("no file"), 0, {}};
    }
    file.close();
    HttpJsonPackage package(nullptr);
    prepare(package);
    package.fileDownloadPath = file.fileName();
    HttpProxy::getInstance()->getFileDownloadSync(wall, &package);
    const State::HttpSimpleState state = package.getSimpleState();
    const bool isReplaced = file.open(QIODevice::ReadOnly) && file.readAll() != "old";
    const bool isAlone = QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size() == 1;
    return {isReplaced == (state == State::Success) && isAlone ? nameOf(state) : QStringLiteral("wrong file"),
            0,
            {}};
}

Outcome form(Bench&)
{
    HttpMutilPartPackage package(nullptr);
    prepare(package);
    package.setHttpMultiPartData({{QStringLiteral("part"), QByteArray("bytes")}});
    HttpProxy::getInstance()->putMutilPartSync(wall, &package);
    return {judged(package.getSimpleState(), isGood(package)), 0, {}};
}

Outcome group(Bench&)
{
    const QStringList ids{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")};
    std::mutex mutex;
    std::vector<State::HttpSimpleState> states;
    const ObserverHandle observer = addExchangeObserver([&](const ExchangeRecord& record) {
        if (record.deviceKey == wall) {
            const std::lock_guard<std::mutex> lock(mutex);
            states.push_back(record.state);
        }
    });
    QVariantList results;
    const bool succeeded = Tessel::GroupRequest("Device_PipeInfo").get(wall, ids, results);
    const std::lock_guard<std::mutex> lock(mutex);
    if (std::set<State::HttpSimpleState>(states.begin(), states.end()).size() != 1 ||
        succeeded != (states[0] == State::Success) || results.size() != (succeeded ? ids.size() : 0)) {
        return {QStringLiteral("differs"), 0, {}};
    }
    const bool isRight = std::all_of(results.cbegin(), results.cend(), [](const QVariant& result) {
        return result.toMap().value(QStringLiteral("a")) == 1;
    });
    return {judged(states[0], isRight), 0, int(states.size()) / ids.size()};
}

struct Form
{
    const char* name;
    Outcome (*call)(Bench& bench);
};

const std::vector<Form> forms{{"blocking", blocking}, {"non-blocking", nonBlocking},
                              {"promise", promise},   {"download", download},
                              {"form", form},         {"group", group}};

/// Asks a healthy device again and again, both ways.
class OtherDevice
{
public:
    explicit OtherDevice(Bench& bench)
        : m_asking([this, &bench] {
            for (int round = 0; round < 200 && (round == 0 || !m_stopped); ++round) {
                for (const bool blocking : {true, false}) {
                    HttpRequest asked = request(m_server.address());
                    asked.expectedTime = ampleLimit;
                    m_isAnswered = m_isAnswered && bench.ask(asked, blocking).state == State::Success;
                }
            }
        })
    {}
    ~OtherDevice() { stop(); }
    /// @return whether each request was answered.
    bool stop()
    {
        m_stopped = true;
        if (m_asking.joinable()) {
            m_asking.join();
        }
        return m_isAnswered;
    }

private:
    const MisbehavingServer m_server;
    std::atomic<bool> m_stopped{false};
    bool m_isAnswered = true; // the thread's until it ended
    std::thread m_asking;
};

/// Waits until each connection that the client keeps to @p port can be read or has ended.
void waitUntilConnectionsSpeak(quint16 port)
{
    for (const QString& name : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const int descriptor = name.toInt();
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port) {
            pollfd watched{descriptor, POLLIN, 0};
            ::poll(&watched, 1, 10000);
        }
    }
}

/// What a row of the table is made of.
struct Row
{
    QStringList outcomes;
    qint64 late = 0;
    qint64 memory = 0;
    std::set<int> replies;
    bool isOtherAnswered = true;

    void add(const Outcome& outcome, int limit, qint64 grown, bool answered)
    {
        outcomes << outcome.state;
        late = std::max(late, outcome.milliseconds - limit);
        memory = std::max(memory, grown);
        if (outcome.replies) {
            replies.insert(*outcome.replies);
        }
        isOtherAnswered = isOtherAnswered && answered;
    }
    QStringList cells() const
    {
        QStringList counts;
        for (const int count : replies) {
            counts << QString::number(count);
        }
        return outcomes +
               QStringList{late > maxLateness ? QStringLiteral("%1 ms").arg(late) : QStringLiteral("no"),
                           memory > maxMemory ? QStringLiteral("%1 MiB").arg(memory >> 20)
                                              : QStringLiteral("less than 64 MiB"),
                           counts.join(QStringLiteral(", ")),
                           isOtherAnswered ? QStringLiteral("answered") : QStringLiteral("failed")};
    }
};

/// A device with the fault, and a transport of its own.
class Scene
{
public:
    explicit Scene(const Fault& fault)
        : m_fault(fault)
        , m_limit(fault.stalls ? shortLimit : ampleLimit)
        , m_server(fault.mode)
        , m_bench(tableLimits())
    {
        m_server.setRaw(fault.text);
        m_server.setFlood(fault.text, fault.more);
        DeviceEndpoint endpoint;
        endpoint.address = fault.listens ? m_server.address() : m_nobody.address();
        if (fault.hasTls) {
            m_front = std::make_unique<TlsFront>(m_server.port());
            endpoint.address = m_front->address();
            endpoint.verifyTls = false;
        }
        if (fault.hasDigest) {
            endpoint.login = DeviceEndpoint::Login::Digest;
            endpoint.user = QStringLiteral("admin");
            endpoint.secret = QStringLiteral("secret");
        }
        m_bench.add(wall, endpoint);
        HttpProxy::getInstance()->setEngine(std::make_unique<LimitedEngine>(m_bench, m_limit));
    }
    ~Scene()
    {
        m_bench.engine.stop();
        HttpProxy::getInstance()->setEngine(nullptr);
    }

    void call(const Form& called, Row& row)
    {
        if (m_fault.idle != Fault::Idle::Untouched) {
            spoilKeptConnections(called);
        }
        const PeakMemory memory;
        OtherDevice other(m_bench);
        QElapsedTimer timer;
        timer.start();
        Outcome outcome = called.call(m_bench);
        outcome.milliseconds = timer.elapsed();
        const bool answered = other.stop();
        row.add(outcome, m_limit, memory.grown(), answered);
    }

    void stream(Row& row)
    {
        if (m_fault.idle != Fault::Idle::Untouched) {
            row.outcomes << QStringLiteral("-");
            return;
        }
        EventTimings timings;
        timings.connect = timings.silence = std::chrono::milliseconds(m_limit);
        timings.firstDelay = timings.longestDelay = timings.loginDelay = timings.goneAfter = 1h;
        const LogCollector log;
        const QString start = QStringLiteral("tessel.events.warning: wall: ");
        const PeakMemory memory;
        OtherDevice other(m_bench);
        QElapsedTimer timer;
        timer.start();
        ProxyEventQueue queue([] {});
        ConnectionBoard board;
        EventChannels channels(m_bench.loop, queue, board, timings);
        channels.open(m_bench.registry->find(wall), {});
        waitFor([&] { return !log.lines().filter(start).isEmpty(); });
        const qint64 milliseconds = timer.elapsed();
        const bool answered = other.stop();
        // A stream waits for its head, and then for its events.
        row.add({log.lines().filter(start).value(0).mid(start.size()), milliseconds, {}}, 2 * m_limit,
                memory.grown(), answered);
    }

    int deliveries() const { return m_server.deliveries(); }

private:
    void spoilKeptConnections(const Form& called)
    {
        if (!m_fault.more.isEmpty()) {
            m_server.setRaw(m_fault.more);
            m_server.setMode(Mode::RawKeepAlive);
        }
        if (!called.call(m_bench).state.startsWith(success)) {
            qFatal("the exchange before the fault failed");
        }
        m_server.setMode(m_fault.mode);
        switch (m_fault.idle) {
        case Fault::Idle::BytesArrive:
            m_server.broadcast(m_fault.text);
            waitUntilConnectionsSpeak(m_server.port());
            break;
        case Fault::Idle::Closed:
            m_server.dropConnections();
            waitUntilConnectionsSpeak(m_front ? m_front->port() : m_server.port());
            break;
        case Fault::Idle::Reset:
            m_server.resetConnections();
            break;
        case Fault::Idle::Untouched:
            break;
        }
    }

    const Fault& m_fault;
    const int m_limit;
    const ClosedPort m_nobody;
    MisbehavingServer m_server;
    std::unique_ptr<TlsFront> m_front; ///< with TLS
    Bench m_bench;
};

QStringList measure(const Fault& fault)
{
    Row row;
    for (const Form& called : forms) {
        Scene scene(fault);
        scene.call(called, row);
        // A write arrives once, whatever happens to it; only an asked-for login has it sent again.
        const int most = fault.hasDigest ? 3 : fault.idle != Fault::Idle::Untouched ? 2 : 1;
        if (called.call == form && scene.deliveries() > most) {
            row.outcomes.last() += QStringLiteral(", sent %1 times").arg(scene.deliveries());
        }
    }
    Scene(fault).stream(row);
    return row.cells();
}

QStringList namesOf(const QList<QStringList>& rows)
{
    QStringList names;
    for (const QStringList& row : rows) {
        names << row.value(0);
    }
    return names;
}

QStringList faultNames()
{
    QStringList names;
    for (const Fault& fault : allFaults()) {
        names << QLatin1String(fault.name);
    }
    return names;
}

} // namespace

class TestReliability : public QObject
{
    Q_OBJECT
public:
    /// Writes the results into the document. @return whether that succeeded.
    bool write() const;
    bool isWriting = false;

private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void everyFaultEndsAsTheDocumentSays_data();
    void everyFaultEndsAsTheDocumentSays();
    void theDocumentDescribesTheFaults();
    void theDocumentNamesTheOutcomesOfTheFaults();
    void theDocumentListsTheSloppyReplies();

private:
    QMap<QString, QStringList> m_measured;
};

void TestReliability::everyFaultEndsAsTheDocumentSays_data()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < allFaults().size(); ++i) {
        QTest::newRow(allFaults()[i].name) << int(i);
    }
}

void TestReliability::everyFaultEndsAsTheDocumentSays()
{
    QFETCH(int, index);
    const Fault& fault = allFaults()[std::size_t(index)];
    const QStringList measured = QStringList(QLatin1String(fault.name)) + measure(fault);
    m_measured.insert(measured[0], measured);
    if (isWriting) {
        return;
    }
    QStringList documented;
    for (const QStringList& row : tableRows(textOf(page), QStringLiteral("outcome of"))) {
        if (row.value(0) == measured[0]) {
            documented = row;
        }
    }
    QCOMPARE(measured.join(QStringLiteral(" | ")), documented.join(QStringLiteral(" | ")));
}

void TestReliability::theDocumentDescribesTheFaults()
{
    QStringList documented;
    for (const QStringList& row : tableRows(textOf(page), QStringLiteral("fault"))) {
        documented << row.join(QStringLiteral(" | "));
    }
    QStringList described;
    for (const Fault& fault : allFaults()) {
        described << QLatin1String(fault.name) + QStringLiteral(" | ") + QLatin1String(fault.description);
    }
    if (!isWriting) {
        QCOMPARE(documented, described);
    }
}

void TestReliability::theDocumentNamesTheOutcomesOfTheFaults()
{
    if (!isWriting) {
        QCOMPARE(namesOf(tableRows(textOf(page), QStringLiteral("outcome of"))), faultNames());
    }
}

void TestReliability::theDocumentListsTheSloppyReplies()
{
    const QString source = textOf(QStringLiteral("tests/communicator/tst_responseparser.cpp"));
    const int begin = source.indexOf(QLatin1String("void aSloppyButHarmlessResponseIsUnderstood_data()"));
    const int end = source.indexOf(QLatin1String("void aSloppyButHarmlessResponseIsUnderstood()"));
    const QStringList tested =
        matchesIn(source.mid(begin, end - begin), QStringLiteral("\\brow\\(\"([^\"]+)\""));
    QVERIFY(tested.size() > 10);
    QStringList listed = namesOf(tableRows(textOf(page), QStringLiteral("sloppy reply")));
    for (const QString& name : tested) {
        QVERIFY2(listed.removeOne(name), qPrintable(name + QStringLiteral(" is not in the document")));
    }
    // The others name their tests.
    for (const QStringList& row : tableRows(textOf(page), QStringLiteral("sloppy reply"))) {
        if (!listed.contains(row[0])) {
            continue;
        }
        const QStringList parts = namesIn(row.value(1)).value(0).split(QStringLiteral("::"));
        QCOMPARE(parts.size(), 2);
        const QString file = QStringLiteral("tests/communicator/") + parts[0] + QStringLiteral(".cpp");
        QVERIFY2(textOf(file).contains(QStringLiteral("void ") + parts[1] + QStringLiteral("()")),
                 qPrintable(row.join(' ')));
    }
}

bool TestReliability::write() const
{
    QStringList described{QStringLiteral("| fault | what the device does |"), QStringLiteral("|---|---|")};
    QStringList head{QStringLiteral("outcome of")};
    for (const Form& called : forms) {
        head << QLatin1String(called.name);
    }
    head << QStringLiteral("stream") << QStringLiteral("over the limit") << QStringLiteral("memory")
         << QStringLiteral("`readyRead`") << QStringLiteral("another device");
    QStringList outcomes{QStringLiteral("| ") + head.join(QStringLiteral(" | ")) + QStringLiteral(" |"),
                         QStringLiteral("|") + QStringLiteral("---|").repeated(head.size())};
    for (const Fault& fault : allFaults()) {
        const QString name = QLatin1String(fault.name);
        described << QStringLiteral("| %1 | %2 |").arg(name, QLatin1String(fault.description));
        outcomes << QStringLiteral("| ") + m_measured.value(name, {name}).join(QStringLiteral(" | ")) +
                        QStringLiteral(" |");
    }
    QString text = textOf(page);
    const auto replaceTable = [&text](const QString& heading, const QStringList& lines) {
        const QRegularExpression table(QStringLiteral("^\\| ") + heading +
                                           QStringLiteral(" \\|(.*\\n\\|)*.*\\n"),
                                       QRegularExpression::MultilineOption);
        const QRegularExpressionMatch match = table.match(text);
        text.replace(match.capturedStart(), match.capturedLength(), lines.join('\n') + '\n');
        return match.hasMatch();
    };
    const bool isFound = replaceTable(QStringLiteral("fault"), described) &&
                         replaceTable(QStringLiteral("outcome of"), outcomes);
    QFile file(QStringLiteral(TESSEL_SOURCE_DIR "/") + QLatin1String(page));
    return isFound && file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    TestReliability test;
    test.isWriting = arguments.removeOne(QStringLiteral("--write"));
    const int failed = QTest::qExec(&test, arguments);
    return failed != 0 || !test.isWriting ? failed : test.write() ? 0 : 1;
}

#include "tst_reliability.moc"
