// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_RELIABILITYFAULTS_H
#define TESTS_COMMUNICATOR_RELIABILITYFAULTS_H

#include "enginebench.h"

/// One thing that a device does wrong.
struct Fault
{
    /// What happens to kept connections between a good exchange and the next one.
    enum class Idle {
        Untouched, ///< there is no good exchange before
        Spoken,    ///< `text` comes on them
        Closed,
        Reset
    };

    const char* name;
    const char* description; ///< as in the document, behind "The device"
    MisbehavingServer::Mode mode = MisbehavingServer::Mode::Raw;
    QByteArray text = {}; ///< a raw reply, or what a flood begins with
    /// What a flood goes on with; of kept connections the reply before, where it is no usual one.
    QByteArray more = {};
    Idle idle = Idle::Untouched;
    bool stalls = false;    ///< only the time limit ends it, which is short then
    bool listens = true;    ///< there is a device at all
    bool hasDigest = false; ///< the device is known with a digest login
};

/// All of them, in the order of the document.
inline const std::vector<Fault>& allFaults()
{
    using Idle = Fault::Idle;
    // A stream of events would be one but for the fault.
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
         "sent a whole reply more on a connection that is kept",
         Mode::Answer,
         whole(R"({"code":0,"data":{"b":2}})"),
         {},
         Idle::Spoken},
        {"idle 408",
         "sent a 408 on a connection that is kept, and keeps it",
         Mode::Answer,
         "HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\n\r\n",
         {},
         Idle::Spoken},
        {"late body", "sent, late, the body of a reply that has none (204)", Mode::Answer,
         R"({"code":0,"data":{"b":2}})", "HTTP/1.1 204 No Content\r\n\r\n", Idle::Spoken},
        {"idle close", "closed a connection that is kept", Mode::Answer, {}, {}, Idle::Closed},
        {"idle reset", "reset a connection that is kept", Mode::Answer, {}, {}, Idle::Reset},

        {"two lengths", "tells two different lengths", Mode::Raw,
         ok + "Content-Length: 25\r\nContent-Length: 2\r\n\r\n{\"code\":0,\"data\":{\"b\":2}}"},
        {"length and chunks", "tells a length and sends chunks", Mode::Raw,
         ok + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n"},
        {"length beyond 2^63", "tells a length that no number of 64 bits holds", Mode::Raw,
         ok + "Content-Length: 9223372036854775810\r\n\r\n{}"},
        {"part of a resource", "sends a part (206) that nobody asked for", Mode::Raw,
         "HTTP/1.1 206 Partial Content\r\n" + type + "Content-Length: 2\r\n\r\n{}"},
        {"status among the headers", "fails, with a header line that reads like a good status line",
         Mode::Raw, "HTTP/1.1 500 No\r\nHTTP/1.1 200 OK\r\n" + type + "Content-Length: 2\r\n\r\n{}"},
        {"status in the trailer", "fails, with a good status line behind the last chunk", Mode::Raw,
         "HTTP/1.1 500 No\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nHTTP/1.1 200 OK\r\n\r\n"},
        {"not HTTP", "speaks another protocol", Mode::Raw, "220 mail server ready\r\n"},
        {"redirect", "sends the request elsewhere", Mode::Raw,
         "HTTP/1.1 302 Found\r\nLocation: http://192.0.2.1/\r\nContent-Length: 0\r\n\r\n"},

        {"not JSON", "answers with a text that is not JSON", Mode::Raw, whole("hello")},
        {"deep JSON", "answers with JSON of 100,000 levels", Mode::Raw,
         whole(QByteArray("{\"a\":").repeated(100000) + "1" + QByteArray(100000, '}'))},
        {"bracket bomb", "answers with `{\"\":1},` one and a half million times", Mode::Raw,
         whole("{\"data\":[" + QByteArray("{\"\":1},").repeated(1500000) + "1]}")},

        {"announced flood", "announces a body of 100 GB", Mode::Raw,
         ok + "Content-Length: 100000000000\r\n\r\n{}"},
        {"endless body", "sends a body without end, as fast as it can", Mode::Flood, chunked,
         "10000\r\n" + QByteArray(65536, 'x') + "\r\n"},
        {"endless chunk extensions", "sends chunks of a byte that say much of themselves", Mode::Flood,
         chunked, "1;" + QByteArray(4096, 'e') + "\r\n \r\n"},
        {"endless headers", "sends header lines without end", Mode::Flood, "HTTP/1.1 200 OK\r\n",
         "X-Line: a\r\n"},
        {"endless header line", "sends one header line without end", Mode::Flood,
         "HTTP/1.1 200 OK\r\nX-Line: ", QByteArray(4096, 'a')},
        {"endless interim replies",
         "sends interim replies (102) without end",
         Mode::Flood,
         {},
         "HTTP/1.1 102 Processing\r\n\r\n"},

        {"deaf", "takes the connection and reads nothing", Mode::Silent, {}, {}, Idle::Untouched, true},
        {"mute", "reads the request and says nothing", Mode::Stall, {}, {}, Idle::Untouched, true},
        {"stall in the head",
         "says nothing more in the middle of the head",
         Mode::RawKeepAlive,
         "HTTP/1.1 200 OK\r\nContent-Le",
         {},
         Idle::Untouched,
         true},
        {"stall in the body",
         "says nothing more in the middle of the body",
         Mode::RawKeepAlive,
         ok + "Content-Length: 25\r\n\r\n{\"code\":0,",
         {},
         Idle::Untouched,
         true},
        {"drip", "sends a byte every 20 ms", Mode::SlowDrip, {}, {}, Idle::Untouched, true},

        {"refused", "is not there", Mode::Answer, {}, {}, Idle::Untouched, false, false},
        {"reset", "reads the request and resets the connection", Mode::ResetOnRequest},
        {"hang up", "reads the request and closes the connection", Mode::Raw},
        {"cut in the head", "closes the connection in the middle of the head", Mode::Raw,
         "HTTP/1.1 200 OK\r\nContent-Le"},
        {"cut in the body", "closes the connection in the middle of the body", Mode::Raw,
         ok + "Content-Length: 25\r\n\r\n{\"code\":0,"},
        {"cut without a length", "tells no length, and closes in the middle of the body", Mode::Raw,
         ok + "\r\n{\"code\":0,"},
        {"not found", "knows no such path", Mode::Raw,
         "HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\n{}"},
        {"stale login for ever",
         "says of each digest login that it is stale",
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
