// SPDX-License-Identifier: MIT
//
// Another transport in place of the built-in one: QNetworkAccessManager, with what it brings along, such as
// the proxy settings of the application.
#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>
#include <simulator/simulator.h>
#include <tessel/hwinfo.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTextStream>
#include <QTimer>
#include <QUrlQuery>

#include <future>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

using namespace Krelm::Communicator::HttpDevice;

namespace {

//! [url]
/// What the transport gets is not expanded yet: placeholders and query come as maps.
QUrl urlOf(const HttpRequest& request)
{
    QString path = request.path;
    for (auto one = request.placeHolders.cbegin(); one != request.placeHolders.cend(); ++one) {
        path.replace('{' + one.key() + '}', QString::fromUtf8(QUrl::toPercentEncoding(one.value())));
    }
    QUrl url("http://" + request.deviceKey + path);
    QUrlQuery query;
    for (auto one = request.parameters.cbegin(); one != request.parameters.cend(); ++one) {
        query.addQueryItem(one.key(), QString::fromUtf8(QUrl::toPercentEncoding(one.value())));
    }
    url.setQuery(query);
    return url;
}
//! [url]

class NetworkAccessEngine : public HttpEngine
{
public:
    ~NetworkAccessEngine() override
    {
        for (auto& one : m_running) {
            one.wait();
        }
    }

    //! [exchange]
    // Any thread: a manager and an event loop for each exchange are slow, but right.
    HttpReply exchange(const HttpRequest& request) override
    {
        HttpReply reply;
        if (request.path.isEmpty() || request.multipart || !request.downloadPath.isEmpty()) {
            reply.state = IHttpVersionTrigger::InvalidRequest; // a complete transport also sends these
            return reply;
        }
        static const char* const verbs[] = {"GET", "PUT", "POST", "DELETE"};
        QNetworkAccessManager manager;
        QNetworkRequest head(urlOf(request));
        head.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        const std::unique_ptr<QNetworkReply> answer(
            manager.sendCustomRequest(head, verbs[static_cast<int>(request.method)], request.body));

        QEventLoop loop;
        QTimer limit; // of the whole exchange; 0 stands for the default
        QObject::connect(answer.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QObject::connect(&limit, &QTimer::timeout, answer.get(), &QNetworkReply::abort);
        limit.start(request.expectedTime > 0 ? request.expectedTime : 10000);
        if (!answer->isFinished()) {
            loop.exec();
        }

        reply.status = answer->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        reply.body = answer->readAll();
        if (reply.status < 200 || reply.status > 299) {
            reply.state =
                reply.status == 0 ? IHttpVersionTrigger::Unreachable : IHttpVersionTrigger::HttpFailure;
            reply.reason = answer->errorString();
        }
        return reply;
    }
    //! [exchange]

    //! [start]
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_running.push_back(std::async(std::launch::async,
                                       [this, request, done = std::move(done)] { done(exchange(request)); }));
        return true;
    }
    //! [start]

private:
    std::mutex m_mutex; // guards the list
    std::vector<std::future<void>> m_running;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Tessel::Simulator::Simulator simulator;
    if (!simulator.start()) {
        return 1;
    }

    //! [use]
    HttpProxy::getInstance()->setEngine(std::make_unique<NetworkAccessEngine>());
    QMap<QString, QVariant> info;
    const bool answered = HWInfo::getInstance()->getHWInfo(simulator.address(), info, true);
    QTextStream(stdout) << info["customName"].toString() << '\n';
    HttpProxy::getInstance()->setEngine(nullptr);
    //! [use]
    return answered ? 0 : 1;
}
