// SPDX-License-Identifier: MIT
//
// A test without any network: an engine that records what is sent and answers from memory.
#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>
#include <tessel/hwinfo.h>

#include <QCoreApplication>
#include <QTextStream>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

using namespace Krelm::Communicator::HttpDevice;

namespace {

//! [engine]
class RecordingEngine : public HttpEngine
{
public:
    HttpReply exchange(const HttpRequest& request) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
        HttpReply reply;
        reply.status = 200;
        reply.body = R"({"code":0,"data":{"customName":"From memory"}})";
        return reply;
    }
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        // Never from inside this call.
        QMetaObject::invokeMethod(
            &m_home, [done = std::move(done), reply = exchange(request)] { done(reply); },
            Qt::QueuedConnection);
        return true;
    }
    std::vector<HttpRequest> requests() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }

private:
    QObject m_home;             // its thread's event loop answers
    mutable std::mutex m_mutex; // guards the requests
    std::vector<HttpRequest> m_requests;
};
//! [engine]

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);

    //! [use]
    auto owned = std::make_unique<RecordingEngine>();
    RecordingEngine* const engine = owned.get();
    HttpProxy::getInstance()->setEngine(std::move(owned));

    QMap<QString, QVariant> info;
    HWInfo::getInstance()->getHWInfo("any key", info, true);
    out << info["customName"].toString() << '\n';
    for (const HttpRequest& request : engine->requests()) {
        out << request.deviceKey << ": " << request.path << ", at most " << request.expectedTime << " ms\n";
    }

    HttpProxy::getInstance()->setEngine(nullptr); // the built-in one again
    //! [use]
    return 0;
}
