// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_RELIABILITYFAULTS_H
#define TESTS_COMMUNICATOR_RELIABILITYFAULTS_H

#include "enginebench.h"

/// One thing that a device does wrong.
struct Fault
{
    /// What happens to idle connections between a good exchange and the next one.
    enum class Idle {
        Untouched,   ///< nothing; there was no exchange before
        BytesArrive, ///< the device sends `text`
        Closed,
        Reset
    };

    const char* name;
    const char* description; ///< as in the document, where it continues "The device"
    MisbehavingServer::Mode mode = MisbehavingServer::Mode::Raw;
    QByteArray text = {}; ///< a raw reply, or the beginning of a flood
    /// The part that a flood repeats. With an idle fault: the previous reply, if it is not the usual one.
    QByteArray more = {};
    Idle idle = Idle::Untouched;
    bool stalls = false;    ///< only the time limit ends it, so the limit is short
    bool listens = true;    ///< false: nothing listens at the address
    bool hasDigest = false; ///< the device is registered with a digest login
    bool hasTls = false;    ///< its connections are closed by TLS (close_notify), and stay open beneath
};

/// All of them, in the order of the document.
inline const std::vector<Fault>& allFaults()
{
    using Idle = Fault::Idle;
    // Without the fault, this would be a valid event stream.
    static const QByteArray type = "Content-Type: text/event-stream\r\n";
    static const QByteArray ok = "HTTP/1.1 200 OK\r\n" + type;
    static const QByteArray chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    static const auto whole = [](const QByteArray& body) {
        return ok + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    };
    static const QByteArray login = "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"r\", "
                                    "nonce=\"n\", qop=\"auth\", stale=true\r\nContent-Length: 2\r\n\r\n{}";
    static const std::vector<Fault> faults{
        {"surplus bytes",
         "sends an extra reply on an idle connection",
         Mode::Answer,
         whole(R"({"code":0,"data":{"b":2}})"),
         {},
         Idle::BytesArrive},
        {"idle 408",
         "sends a 408 on an idle connection and leaves it open",
         Mode::Answer,
         "HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\n\r\n",
         {},
         Idle::BytesArrive},
        {"late body", "sends a late body after a reply that must not have one (204)", Mode::Answer,
         R"({"code":0,"data":{"b":2}})", "HTTP/1.1 204 No Content\r\n\r\n", Idle::BytesArrive},
        {"idle close", "closes an idle connection", Mode::Answer, {}, {}, Idle::Closed},
        {"idle reset", "resets an idle connection", Mode::Answer, {}, {}, Idle::Reset},
        {"idle close_notify",
         "ends TLS on an idle connection and leaves the connection open",
         Mode::Answer,
         {},
         {},
         Idle::Closed,
         false,
         true,
         false,
         true},

        {"two lengths", "sends two different lengths", Mode::Raw,
         ok + "Content-Length: 25\r\nContent-Length: 2\r\n\r\n{\"code\":0,\"data\":{\"b\":2}}"},
        {"length and chunks", "sends both a length and chunks", Mode::Raw,
         ok + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n"},
        {"length beyond 2^63", "sends a length that does not fit into 64 bits", Mode::Raw,
         ok + "Content-Length: 9223372036854775810\r\n\r\n{}"},
        {"part of a resource", "sends a partial reply (206) that was not requested", Mode::Raw,
         "HTTP/1.1 206 Partial Content\r\n" + type + "Content-Length: 2\r\n\r\n{}"},
        {"status among the headers", "fails, but one of its header lines looks like a successful status line",
         Mode::Raw, "HTTP/1.1 500 No\r\nHTTP/1.1 200 OK\r\n" + type + "Content-Length: 2\r\n\r\n{}"},
        {"status in the trailer", "fails, but a successful status line follows the last chunk", Mode::Raw,
         "HTTP/1.1 500 No\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nHTTP/1.1 200 OK\r\n\r\n"},
        {"not HTTP", "speaks another protocol", Mode::Raw, "220 mail server ready\r\n"},
        {"redirect", "redirects the request to another host", Mode::Raw,
         "HTTP/1.1 302 Found\r\nLocation: http://192.0.2.1/\r\nContent-Length: 0\r\n\r\n"},

        {"not JSON", "sends a body that is not JSON", Mode::Raw, whole("hello")},
        {"deep JSON", "sends JSON nested 100,000 levels deep", Mode::Raw,
         whole(QByteArray("{\"a\":").repeated(100000) + "1" + QByteArray(100000, '}'))},
        {"bracket bomb", "sends `{\"\":1},` one and a half million times", Mode::Raw,
         whole("{\"data\":[" + QByteArray("{\"\":1},").repeated(1500000) + "1]}")},

        {"announced flood", "announces a body of 100 GB", Mode::Raw,
         ok + "Content-Length: 100000000000\r\n\r\n{}"},
        {"endless body", "sends an endless body as fast as it can", Mode::Flood, chunked,
         "10000\r\n" + QByteArray(65536, 'x') + "\r\n"},
        {"endless chunk extensions", "sends chunks of one byte with long extensions", Mode::Flood, chunked,
         "1;" + QByteArray(4096, 'e') + "\r\n \r\n"},
        {"endless headers", "never stops sending header lines", Mode::Flood, "HTTP/1.1 200 OK\r\n",
         "X-Line: a\r\n"},
        {"endless header line", "sends a header line that never ends", Mode::Flood,
         "HTTP/1.1 200 OK\r\nX-Line: ", QByteArray(4096, 'a')},
        {"endless interim replies",
         "never stops sending interim replies (102)",
         Mode::Flood,
         {},
         "HTTP/1.1 102 Processing\r\n\r\n"},

        {"deaf", "accepts the connection and reads nothing", Mode::Silent, {}, {}, Idle::Untouched, true},
        {"mute", "reads the request and never replies", Mode::Stall, {}, {}, Idle::Untouched, true},
        {"stall in the head",
         "stops sending in the middle of the head",
         Mode::RawKeepAlive,
         "HTTP/1.1 200 OK\r\nContent-Le",
         {},
         Idle::Untouched,
         true},
        {"stall in the body",
         "stops sending in the middle of the body",
         Mode::RawKeepAlive,
         ok + "Content-Length: 25\r\n\r\n{\"code\":0,",
         {},
         Idle::Untouched,
         true},
        {"drip", "sends one byte every 20 ms", Mode::SlowDrip, {}, {}, Idle::Untouched, true},

        {"refused", "refuses the connection", Mode::Answer, {}, {}, Idle::Untouched, false, false},
        {"reset", "reads the request and resets the connection", Mode::ResetOnRequest},
        {"hang up", "reads the request and closes the connection", Mode::Raw},
        {"cut in the head", "closes the connection in the middle of the head", Mode::Raw,
         "HTTP/1.1 200 OK\r\nContent-Le"},
        {"cut in the body", "closes the connection in the middle of the body", Mode::Raw,
         ok + "Content-Length: 25\r\n\r\n{\"code\":0,"},
        {"cut without a length", "sends no length and closes the connection in the middle of the body",
         Mode::Raw, ok + "\r\n{\"code\":0,"},
        {"not found", "does not know the path", Mode::Raw,
         "HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\n{}"},
        {"endless stale login",
         "calls every digest login stale",
         Mode::RawKeepAlive,
         login,
         {},
         Idle::Untouched,
         false,
         true,
         true},
    };
    return faults;
}

#endif
