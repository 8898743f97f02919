// SPDX-License-Identifier: MIT
#ifndef TESTING_RECORDINGENGINE_H
#define TESTING_RECORDINGENGINE_H

#include <communicator/httpengine.h>

#include <QByteArray>
#include <QObject>
#include <QString>

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace Tessel::Testing {

/// An engine for the tests of an application: takes the place of the network, records every request, and
/// answers as the test says. Nothing is sent, so a test needs neither a device nor a simulator, and no time.
///
/// install() puts one behind HttpProxy; the proxy owns it until the next engine is set, or until the process
/// ends. It then answers for all device keys, known or not. There are no event streams.
///
/// A request is answered by the first of these that there is: a reply from answerNext(), the reply for its
/// method and path, and what answer() was given.
///
/// All functions may be called from any thread. Blocking operations are answered at once, on the thread that
/// calls them. All others are answered one after the other by the event loop of the thread that created the
/// engine, which must therefore run one; or wait for release() while hold() is on; or do as startWith() says.
/// What is not answered when the engine goes is dropped.
///
/// @code
/// auto* const engine = Tessel::Testing::RecordingEngine::install();
/// engine->answer(HttpMethod::Get, "/api/v1/device/hw", RecordingEngine::data(R"({"customName":"Hall"})"));
/// // ... what is tested ...
/// QCOMPARE(engine->last().method, HttpMethod::Put);
/// QCOMPARE(RecordingEngine::pathOf(engine->last()), QString("/api/v1/device/hw/customname"));
/// @endcode
class RecordingEngine : public Krelm::Communicator::HttpDevice::HttpEngine
{
public:
    /// What the library asks to be sent.
    using Request = Krelm::Communicator::HttpDevice::HttpRequest;
    /// What it gets for that.
    using Reply = Krelm::Communicator::HttpDevice::HttpReply;
    /// The verb of a request.
    using Method = Krelm::Communicator::HttpDevice::HttpMethod;
    /// How an exchange ended.
    using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger::HttpSimpleState;
    /// Gives the reply to a request. Called without any lock, on the thread that answers.
    using Answer = std::function<Reply(const Request&)>;
    /// Takes the reply to a request that does not block.
    using Done = std::function<void(const Reply&)>;
    /// Stands in for start().
    using Start = std::function<bool(const Request&, const Done&)>;

    /// An engine that answers everything with data("{}").
    RecordingEngine();

    /// Creates an engine and sets it in the proxy, which owns it.
    /// @return the engine; valid until another one is set.
    static RecordingEngine* install();

    /// A 200 reply with @p body.
    static Reply reply(const QByteArray& body);
    /// A 200 reply as devices send it: `code` is 0, and `data` is the JSON text @p data.
    static Reply data(const QByteArray& data);
    /// A failure without reply, such as a device that cannot be reached.
    static Reply failure(State state = State::Unreachable);
    /// The path of @p request with its placeholders replaced, unencoded and without the query.
    static QString pathOf(const Request& request);

    /// What requests are answered from now on, where nothing else is said.
    void answer(const Answer& answer);
    /// The same with one reply for all.
    void answer(const Reply& reply);
    /// What requests of @p method to @p path, as pathOf() gives it, are answered from now on.
    void answer(Method method, const QString& path, const Reply& reply);
    /// Adds @p reply to the list of replies that the next requests get, whatever they are: one reply each, in
    /// the order in which they were added.
    void answerNext(const Reply& reply);
    /// How many replies of that list have not been used. A test that ends with 0 has seen every request that
    /// it expected.
    int unusedReplies() const;

    /// What start() does from now on, apart from recording the request; an empty function has it answer
    /// again.
    void startWith(const Start& start);

    /// Keeps requests that do not block unanswered from now on.
    void hold();
    /// Answers the oldest request held, later, as is said then.
    /// @return `false` when none is held.
    bool release();
    /// How many are not answered yet.
    int held() const;

    /// All requests so far, in the order in which they came.
    std::vector<Request> requests() const;
    /// How many there are.
    int count() const;
    /// The latest request; a blank one if there is none.
    Request last() const;
    /// Forgets the requests so far.
    void forget();

    /// Records and answers a blocking request; called by the proxy.
    Reply exchange(const Request& request) override;
    /// Records a request that does not block, and answers it later; called by the proxy.
    bool start(const Request& request, Done done) override;

private:
    struct Pending
    {
        Request request;
        Done done;
    };
    Reply answerTo(const Request& request);
    void answerOldestLater();
    void answerOldest();

    mutable std::mutex m_mutex; // guards everything below but m_home
    std::vector<Request> m_requests;
    std::deque<Pending> m_held;
    bool m_hold = false;
    Start m_start; // null: answers later
    std::deque<Reply> m_next;
    std::map<std::pair<Method, QString>, Reply> m_byPath;
    Answer m_answer;
    QObject m_home; // its thread's event loop answers non-blocking requests
};

} // namespace Tessel::Testing

#endif
