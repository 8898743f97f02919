// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_RECORDINGENGINE_H
#define TESTS_COMMUNICATOR_RECORDINGENGINE_H

#include "communicator/httpengine.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// An engine that sends nothing: it records what it is asked and answers when it is told to. May be used from
/// any thread; the log outlives it.
class RecordingEngine : public Krelm::Communicator::HttpDevice::HttpEngine
{
public:
    using Request = Krelm::Communicator::HttpDevice::HttpRequest;
    using Reply = Krelm::Communicator::HttpDevice::HttpReply;
    using Done = std::function<void(const Reply&)>;

    enum class Start {
        AnswersEarly, ///< calls `done` from inside start()
        AnswersLater, ///< keeps `done` in the log
        AnswersTwice, ///< calls `done` twice from inside start()
        Refuses,      ///< returns false, calls `done`
        Drops         ///< returns false and forgets `done`
    };

    struct Log
    {
        std::mutex mutex; ///< guards the two below
        std::vector<Request> requests;
        std::vector<Done> pending;
        Reply reply;
        std::atomic<bool> alive{true};
    };

    RecordingEngine(std::shared_ptr<Log> log, Start start)
        : m_log(std::move(log))
        , m_start(start)
    {}
    ~RecordingEngine() override { m_log->alive = false; }

    Reply exchange(const Request& request) override
    {
        const std::lock_guard<std::mutex> lock(m_log->mutex);
        m_log->requests.push_back(request);
        return m_log->reply;
    }

    bool start(const Request& request, Done done) override
    {
        Reply reply;
        {
            const std::lock_guard<std::mutex> lock(m_log->mutex);
            m_log->requests.push_back(request);
            reply = m_log->reply;
            if (m_start == Start::AnswersLater) {
                m_kept.push_back(done);
                m_log->pending.push_back(
                    [this, index = m_kept.size() - 1](const Reply& later) { m_kept[index](later); });
                return true;
            }
        }
        if (m_start == Start::Drops) {
            return false;
        }
        done(reply);
        if (m_start == Start::AnswersTwice) {
            done(reply);
        }
        return m_start != Start::Refuses;
    }

private:
    std::shared_ptr<Log> m_log;
    const Start m_start;
    std::vector<Done> m_kept;
};

#endif
