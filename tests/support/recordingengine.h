// SPDX-License-Identifier: MIT
#ifndef TESTS_RECORDINGENGINE_H
#define TESTS_RECORDINGENGINE_H

#include <communicator/httpengine.h>

#include <QObject>

#include <deque>
#include <functional>
#include <mutex>
#include <vector>

/// Records requests and answers them within the process.
///
/// Requests may come from any thread. Non-blocking requests are answered by the event loop of the thread that
/// created the engine; after hold() they wait for release(), and startWith() replaces both. Requests that are
/// unanswered when the engine is destroyed are dropped. install() sets one in the proxy, which owns it until
/// the next engine is set.
class RecordingEngine : public Krelm::Communicator::HttpDevice::HttpEngine
{
public:
    using Request = Krelm::Communicator::HttpDevice::HttpRequest;
    using Reply = Krelm::Communicator::HttpDevice::HttpReply;
    using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger::HttpSimpleState;
    using Answer = std::function<Reply(const Request&)>;
    using Done = std::function<void(const Reply&)>;
    using Start = std::function<bool(const Request&, const Done&)>;

    RecordingEngine();

    /// Sets a new engine in the proxy.
    static RecordingEngine* install();

    /// A 200 reply with @p body.
    static Reply reply(const QByteArray& body);
    /// A 200 reply whose `data` is the JSON text @p data.
    static Reply data(const QByteArray& data);
    /// A failure without a reply.
    static Reply failure(State state = State::Unreachable);

    /// Sets the reply to every request from now on; initially data("{}").
    void answer(const Answer& answer);
    void answer(const Reply& reply);

    /// Sets what start() does from now on, apart from recording the request.
    void startWith(const Start& start);

    /// Leaves non-blocking requests unanswered from now on.
    void hold();
    /// Answers the oldest held request from the event loop, as answer() says then. @return whether there was
    /// one.
    bool release();
    /// The number of requests that are held.
    int held() const;

    /// All requests so far, in the order of their arrival.
    std::vector<Request> requests() const;
    int count() const;
    /// The latest request.
    Request last() const;
    void forget();

    Reply exchange(const Request& request) override;
    bool start(const Request& request, Done done) override;

private:
    struct Pending
    {
        Request request;
        Done done;
    };
    Reply answerTo(const Request& request) const;
    void answerOldestLater();
    void answerOldest();

    mutable std::mutex m_mutex; // guards all members below except m_home
    std::vector<Request> m_requests;
    std::deque<Pending> m_held;
    bool m_hold = false;
    Start m_start; // null: answers later
    Answer m_answer;
    QObject m_home; // its thread's event loop answers non-blocking requests
};

#endif
