// SPDX-License-Identifier: MIT
#include <testing/recordingengine.h>

#include <communicator/httpproxy.h>

namespace Tessel::Testing {

using Krelm::Communicator::HttpDevice::HttpProxy;

RecordingEngine::RecordingEngine()
{
    answer(data("{}"));
}

RecordingEngine* RecordingEngine::install()
{
    auto engine = std::make_unique<RecordingEngine>();
    RecordingEngine* installed = engine.get();
    HttpProxy::getInstance()->setEngine(std::move(engine));
    return installed;
}

RecordingEngine::Reply RecordingEngine::reply(const QByteArray& body)
{
    Reply reply;
    reply.status = 200;
    reply.body = body;
    return reply;
}

RecordingEngine::Reply RecordingEngine::data(const QByteArray& data)
{
    return reply(R"({"code":0,"message":"ok","data":)" + data + "}");
}

RecordingEngine::Reply RecordingEngine::failure(State state)
{
    Reply reply;
    reply.state = state;
    return reply;
}

QString RecordingEngine::pathOf(const Request& request)
{
    QString path;
    decltype(path.size()) done = 0;
    while (done < request.path.size()) {
        const auto open = request.path.indexOf(QLatin1Char('{'), done);
        const auto close = open == -1 ? -1 : request.path.indexOf(QLatin1Char('}'), open);
        if (close == -1) {
            break;
        }
        const auto value = request.placeHolders.constFind(request.path.mid(open + 1, close - open - 1));
        if (value == request.placeHolders.cend()) {
            path += request.path.mid(done, open + 1 - done);
            done = open + 1;
        } else {
            path += request.path.mid(done, open - done) + *value;
            done = close + 1;
        }
    }
    return path + request.path.mid(done);
}

void RecordingEngine::answer(const Answer& answer)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answer = answer;
}

void RecordingEngine::answer(const Reply& reply)
{
    answer([reply](const Request&) { return reply; });
}

void RecordingEngine::answer(Method method, const QString& path, const Reply& reply)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_byPath[{method, path}] = reply;
}

void RecordingEngine::answerNext(const Reply& reply)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_next.push_back(reply);
}

int RecordingEngine::unusedReplies() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_next.size());
}

void RecordingEngine::startWith(const Start& start)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_start = start;
}

void RecordingEngine::hold()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hold = true;
}

bool RecordingEngine::release()
{
    if (held() == 0) {
        return false;
    }
    answerOldestLater();
    return true;
}

int RecordingEngine::held() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_held.size());
}

std::vector<RecordingEngine::Request> RecordingEngine::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

int RecordingEngine::count() const
{
    return static_cast<int>(requests().size());
}

RecordingEngine::Request RecordingEngine::last() const
{
    const std::vector<Request> all = requests();
    return all.empty() ? Request() : all.back();
}

void RecordingEngine::forget()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.clear();
}

RecordingEngine::Reply RecordingEngine::exchange(const Request& request)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
    }
    return answerTo(request);
}

bool RecordingEngine::start(const Request& request, Done done)
{
    Start start;
    bool hold = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
        start = m_start;
        hold = m_hold;
        if (!start) {
            m_held.push_back({request, done});
        }
    }
    if (start) {
        return start(request, done);
    }
    if (!hold) {
        answerOldestLater();
    }
    return true;
}

RecordingEngine::Reply RecordingEngine::answerTo(const Request& request)
{
    Answer answer;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_next.empty()) {
            Reply next = std::move(m_next.front());
            m_next.pop_front();
            return next;
        }
        const auto known = m_byPath.find({request.method, pathOf(request)});
        if (known != m_byPath.end()) {
            return known->second;
        }
        answer = m_answer;
    }
    return answer(request);
}

void RecordingEngine::answerOldestLater()
{
    QMetaObject::invokeMethod(
        &m_home, [this] { answerOldest(); }, Qt::QueuedConnection);
}

void RecordingEngine::answerOldest()
{
    Pending pending;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_held.empty()) {
            return;
        }
        pending = std::move(m_held.front());
        m_held.pop_front();
    }
    pending.done(answerTo(pending.request));
}

} // namespace Tessel::Testing
