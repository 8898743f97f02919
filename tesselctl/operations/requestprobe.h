// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATIONS_REQUESTPROBE_H
#define TESSELCTL_OPERATIONS_REQUESTPROBE_H

#include <communicator/httpengine.h>
#include <operations/operation.h>
#include <tessel/protocols.h>

#include <QString>

#include <memory>
#include <vector>

namespace TesselCtl {

using Tessel::Operations::Operation;

/// A request as an operation makes it, placeholders unexpanded; the path is empty where no route leads.
struct ProbedRequest
{
    QString verb;
    QString path;
    bool isForm = false; ///< its body is multipart
};

inline bool operator==(const ProbedRequest& left, const ProbedRequest& right)
{
    return left.verb == right.verb && left.path == right.path && left.isForm == right.isForm;
}

using ProbedRequests = std::vector<ProbedRequest>;

/// The name of @p method in a request.
QString verbOf(Krelm::Communicator::HttpDevice::HttpMethod method);

/// Arguments with which @p operation can be called on @p device: nothing is empty, and ids are "1".
QVariantList sampleArguments(const Operation& operation, const QString& device);

/// Learns what operations send by calling them. While it exists the transport answers in process, so nothing
/// reaches a device. One at a time, on the application's thread.
class RequestProbe
{
public:
    RequestProbe();
    ~RequestProbe();

    /// What @p operation sends, with sample arguments, to a device that speaks @p protocol and of which
    /// nothing is cached. Each request once.
    ProbedRequests requestsOf(const Operation& operation, Tessel::Protocol protocol);

private:
    class Engine;

    Engine* m_engine; // the proxy owns it
    Q_DISABLE_COPY_MOVE(RequestProbe)
};

} // namespace TesselCtl

#endif
