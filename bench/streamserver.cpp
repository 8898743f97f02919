// SPDX-License-Identifier: MIT
#include "streamserver.h"

#include "fixedserver.h"

#include <chrono>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// Accepts a connection whose request, which fits into one piece, has come. @return -1 if it has ended.
int openedStream(int listener)
{
    const int connection = accept(listener, nullptr, nullptr);
    char request[4096];
    const bool isOpen = recv(connection, request, sizeof request, 0) > 0 &&
                        sendAll(connection, "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n"
                                            "id: e:1\n\n");
    if (!isOpen) {
        close(connection);
    }
    return isOpen ? connection : -1;
}

void refuseFor(int listener, std::chrono::milliseconds time)
{
    const auto end = Clock::now() + time;
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        pollfd waiting{listener, POLLIN, 0};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - now).count();
        if (poll(&waiting, 1, static_cast<int>(left) + 1) > 0) {
            close(accept(listener, nullptr, nullptr));
        }
    }
}

/// Until all streams are closed. A client that gave up a stream that it had not seen open yet comes again.
void waitForTheEnd(int listener, std::vector<int>& streams)
{
    while (!streams.empty()) {
        std::vector<pollfd> waiting{{listener, POLLIN, 0}};
        for (const int stream : streams) {
            waiting.push_back({stream, POLLIN, 0});
        }
        poll(waiting.data(), waiting.size(), -1);
        streams.clear();
        for (std::size_t i = 1; i < waiting.size(); ++i) {
            char nothing = 0;
            if (waiting[i].revents == 0 || recv(waiting[i].fd, &nothing, 1, 0) > 0) {
                streams.push_back(waiting[i].fd);
            } else {
                close(waiting[i].fd);
            }
        }
        if (waiting[0].revents != 0) {
            if (const int stream = openedStream(listener); stream >= 0) {
                streams.push_back(stream);
            }
        }
    }
}

void serve(int listener, const StreamScript& script)
{
    std::vector<int> streams;
    const auto openAll = [&] {
        while (streams.size() < static_cast<std::size_t>(script.streams)) {
            if (const int stream = openedStream(listener); stream >= 0) {
                streams.push_back(stream);
            }
        }
    };
    while (true) {
        openAll();
        if (script.outageMilliseconds > 0) {
            for (const int stream : streams) {
                close(stream);
            }
            streams.clear();
            refuseFor(listener, std::chrono::milliseconds(script.outageMilliseconds));
            openAll();
        }
        for (int i = 0; i < script.times; ++i) {
            sendAll(streams[static_cast<std::size_t>(i % script.streams)], script.event);
            if (script.pauseMicroseconds > 0) {
                usleep(static_cast<useconds_t>(script.pauseMicroseconds));
            }
        }
        waitForTheEnd(listener, streams);
    }
}

} // namespace

void serveStreams(const StreamScript& script, const std::function<void(const std::string&)>& ready)
{
    int port = 0;
    const int listener = listenAnywhere(port);
    if (listener < 0) {
        return;
    }
    std::thread(serve, listener, script).detach();
    ready(addressesOf(script.streams, port));
}
