// SPDX-License-Identifier: MIT
//
// The end of the application, after which nothing may wait for a reply.
#ifndef TESSEL_FRAMES_APPLICATIONEND_H
#define TESSEL_FRAMES_APPLICATIONEND_H

#include <QEventLoop>

#include <functional>
#include <memory>

namespace Tessel {

/// The application ends when its QCoreApplication is destroyed or, without one, when the process ends; it
/// starts again with the next QCoreApplication. After that no thread receives events any more, which includes
/// replies.
class ApplicationEnd
{
public:
    /// Whether the application has ended. May be called from any thread; call it before and after a blocking
    /// exchange to find out whether the end interrupted it.
    static bool hasCome();

    /// Calls a function once when the application ends, on the thread that ends it, or at once if it has
    /// already ended. The function may still be running while the watch is destroyed, and must not throw.
    class Watch
    {
    public:
        explicit Watch(std::function<void()> callback);
        ~Watch();
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        const std::shared_ptr<const std::function<void()>> m_callback;
    };
};

/// Whether the calling thread can receive events: it needs an event dispatcher, and Qt delivers none without
/// an application. Replies to non-blocking requests arrive as events.
bool threadTakesEvents();
/// Whether the calling thread can run an event loop, which would give it an event dispatcher.
bool canRunEventLoop();

/// Runs @p loop on its thread until something quits it or the application ends.
/// @return `false` if the application ended.
bool execUntilApplicationEnds(QEventLoop& loop, QEventLoop::ProcessEventsFlags flags = QEventLoop::AllEvents);

} // namespace Tessel

#endif
