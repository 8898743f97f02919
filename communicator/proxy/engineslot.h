// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_PROXY_ENGINESLOT_H
#define COMMUNICATOR_PROXY_ENGINESLOT_H

#include "communicator/devices/deviceregistry.h"
#include "communicator/http/socketengine.h"
#include "communicator/httpengine.h"
#include "communicator/runtime/ioloop.h"

#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The engine in use, which is the built-in one unless another was set, and the event loop that the built-in
/// engine shares with the event streams. Both are created on first use. Thread-safe.
class EngineSlot
{
public:
    explicit EngineSlot(std::shared_ptr<DeviceRegistry> registry);

    /// The engine for the next request; null after the transport has been closed.
    std::shared_ptr<HttpEngine> engine();
    /// Replaces the engine and stops the built-in one. With null, the next request creates a built-in engine.
    void setEngine(std::shared_ptr<HttpEngine> next);
    /// The loop, which is created on first use.
    std::shared_ptr<IoLoop> loop();

    /// Aborts all exchanges of the built-in engine with @p deviceKey.
    void abort(const QString& deviceKey);
    /// Drops the idle connections of the built-in engine with @p deviceKey from before its endpoint was
    /// replaced.
    void dropReplaced(const QString& deviceKey);
    /// Stops the built-in engine, but not one that was set. The transport must be closed.
    void stopEngine();
    /// Stops the loop; everything that uses it must have stopped before. The transport must be closed.
    void stopLoop();

private:
    std::shared_ptr<IoLoop> loopLocked();
    std::shared_ptr<SocketEngine> builtInEngine();

    const std::shared_ptr<DeviceRegistry> m_registry;
    std::mutex m_mutex; ///< guards the members below
    std::shared_ptr<IoLoop> m_loop;
    std::shared_ptr<SocketEngine> m_builtIn; ///< null if it is not running
    std::shared_ptr<HttpEngine> m_engine;    ///< null until the built-in one is needed
};

} // namespace Krelm::Communicator::HttpDevice

#endif
