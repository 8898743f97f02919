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

/// The engine that serves requests, which is the built-in one unless another was set, and the loop that the
/// built-in one shares with the event streams. Both begin when they are needed. May be used from any thread.
class EngineSlot
{
public:
    explicit EngineSlot(std::shared_ptr<DeviceRegistry> registry);

    /// The engine that serves requests now; null while the transport is closed.
    std::shared_ptr<HttpEngine> engine();
    /// Ends the built-in engine. Null brings it back with the next request.
    void setEngine(std::shared_ptr<HttpEngine> next);
    std::shared_ptr<IoLoop> loop();

    /// Aborts what the built-in engine exchanges with @p deviceKey.
    void abort(const QString& deviceKey);
    /// Ends the built-in engine; one that was set is left alone. The transport must be closed.
    void stopEngine();
    /// Ends the loop, after all that uses it. The transport must be closed.
    void stopLoop();

private:
    std::shared_ptr<IoLoop> loopLocked();

    const std::shared_ptr<DeviceRegistry> m_registry;
    std::mutex m_mutex; ///< guards all below
    std::shared_ptr<IoLoop> m_loop;
    std::shared_ptr<SocketEngine> m_builtIn; ///< null when none runs
    std::shared_ptr<HttpEngine> m_engine;    ///< null: the built-in one, not created yet
};

} // namespace Krelm::Communicator::HttpDevice

#endif
