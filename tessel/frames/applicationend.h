// SPDX-License-Identifier: MIT
//
// The end of the application, beyond which nothing may wait for a reply.
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
    /// Whether the application has ended. May be called from any thread; ask before and after a blocking
    /// exchange to learn whether the end cut it off.
    static bool hasCome();

    /// Has a function called once when the end comes, on the thread that ends the application; at once if it
    /// has come already. It may still run while the watch is destroyed, and must not throw.
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

/// Whether events reach the calling thread: it has an event dispatcher, and there is an application, without
/// which Qt delivers none. A reply that is not waited for comes as an event.
bool threadTakesEvents();
/// Whether the calling thread may run an event loop, which gives it an event dispatcher.
bool canRunEventLoop();

/// Runs @p loop on its thread until something quits it, or until the application ends. @return `false` in the
/// latter case.
bool execUntilApplicationEnds(QEventLoop& loop, QEventLoop::ProcessEventsFlags flags = QEventLoop::AllEvents);

} // namespace Tessel

#endif
