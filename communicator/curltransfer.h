// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_CURLTRANSFER_H
#define COMMUNICATOR_CURLTRANSFER_H

#include "communicator/deviceregistry.h"
#include "communicator/exchangereport.h"
#include "communicator/httpengine.h"
#include "communicator/multipartbody.h"
#include "communicator/replyreader.h"

#include <array>
#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// Sets on @p easy what holds for everything that this transport sends: no signals, no environment, HTTP/1.1
/// alone.
void setTransportOptions(CURL* easy);
/// Sets on @p easy how @p device is trusted and logged in to.
void setDeviceOptions(CURL* easy, const Device& device);
/// Why @p request cannot be sent whatever the device; empty when it can.
QString faultOfRequest(const HttpRequest& request);

/// One reusable libcurl handle: turns a request into its options and what came back into a reply. Options
/// that stay the same from one request to the next are not set again. Used by one thread at a time.
class CurlTransfer
{
public:
    explicit CurlTransfer(const TransferLimits& limits);
    ~CurlTransfer();

    CURL* easy() const { return m_easy; }
    const std::shared_ptr<const Device>& device() const { return m_device; }

    /// Prepares @p request, which must outlive finish(), to end within @p limit. @return Success, or why
    /// nothing can be sent.
    IHttpVersionTrigger::HttpSimpleState prepare(const HttpRequest& request,
                                                 std::shared_ptr<const Device> device,
                                                 std::chrono::milliseconds limit,
                                                 std::chrono::steady_clock::time_point started);
    /// The exchange ended with @p code, or was broken off with the given outcome; reports it and gives the
    /// reply.
    HttpReply finish(CURLcode code);
    HttpReply finish(IHttpVersionTrigger::HttpSimpleState outcome, const QString& reason);

private:
    /// What a request asks of the handle beyond address and body.
    enum class Shape { None, Plain, Body, Multipart };

    static size_t onHeader(char* line, size_t size, size_t count, void* self);
    static size_t onBody(char* bytes, size_t size, size_t count, void* self);
    static int onSend(void* self, char* remoteAddress, char* localAddress, int remotePort, int localPort);
    static int onProgress(void* self, curl_off_t toReceive, curl_off_t received, curl_off_t toSend,
                          curl_off_t sent);

    void bind(std::shared_ptr<const Device> device);
    void setShape(Shape shape);
    void setHeaders();
    IHttpVersionTrigger::HttpSimpleState setBody();

    CURL* m_easy;
    ReplyReader m_reader;
    std::shared_ptr<const Device> m_device;
    std::array<char, CURL_ERROR_SIZE> m_error{};

    const HttpRequest* m_request = nullptr;
    std::chrono::steady_clock::time_point m_started;
    QByteArray m_target;
    QString m_fault;
    bool m_sent = false;          ///< the request may have left
    bool m_resendRefused = false; ///< libcurl wanted to send it a second time
    std::optional<MultipartBody> m_multipart;
    TransferSizes m_sizes; ///< reported last

    QByteArray m_url; ///< as set on the handle, like all below
    bool m_tellsProgress = false;
    Shape m_shape = Shape::None;
    HttpMethod m_method = HttpMethod::Get;
    curl_slist* m_headerLines = nullptr;
    QMap<QString, QString> m_headers;
    Shape m_headersShape = Shape::None; ///< what m_headerLines were made for
    Q_DISABLE_COPY_MOVE(CurlTransfer)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
