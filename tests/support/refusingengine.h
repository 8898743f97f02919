// SPDX-License-Identifier: MIT
#ifndef TESTS_REFUSINGENGINE_H
#define TESTS_REFUSINGENGINE_H

#include "recordingengine.h"

#include <communicator/httpengine.h>

#include <QTimer>

/// An engine that refuses to start requests.
class RefusingEngine : public Krelm::Communicator::HttpDevice::HttpEngine
{
public:
    using Request = Krelm::Communicator::HttpDevice::HttpRequest;
    using Reply = Krelm::Communicator::HttpDevice::HttpReply;

    Reply exchange(const Request&) override { return RecordingEngine::failure(); }
    bool start(const Request&, std::function<void(const Reply&)> done) override
    {
        QTimer::singleShot(0, [done] { done(RecordingEngine::failure()); });
        return false;
    }
};

#endif
