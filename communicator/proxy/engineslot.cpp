// SPDX-License-Identifier: MIT
#include "communicator/proxy/engineslot.h"

#include "communicator/runtime/lifecycle.h"

#include <utility>

namespace Krelm::Communicator::HttpDevice {

EngineSlot::EngineSlot(std::shared_ptr<DeviceRegistry> registry)
    : m_registry(std::move(registry))
{}

std::shared_ptr<IoLoop> EngineSlot::loop()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return loopLocked();
}

// The caller holds m_mutex.
std::shared_ptr<IoLoop> EngineSlot::loopLocked()
{
    if (!m_loop) {
        Lifecycle::prepareConnections();
        m_loop = std::make_shared<IoLoop>();
    }
    return m_loop;
}

std::shared_ptr<HttpEngine> EngineSlot::engine()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (Lifecycle::isClosed()) {
        return nullptr;
    }
    if (!m_engine) {
        m_builtIn = std::make_shared<SocketEngine>(m_registry, loopLocked());
        m_engine = m_builtIn;
    }
    return m_engine;
}

void EngineSlot::setEngine(std::shared_ptr<HttpEngine> next)
{
    std::shared_ptr<SocketEngine> builtIn;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        builtIn.swap(m_builtIn);
        m_engine.swap(next);
    }
    if (builtIn) {
        builtIn->stop();
    }
}

void EngineSlot::abort(const QString& deviceKey)
{
    if (const std::shared_ptr<SocketEngine> builtIn = builtInEngine()) {
        builtIn->abort(deviceKey);
    }
}

void EngineSlot::dropReplaced(const QString& deviceKey)
{
    if (const std::shared_ptr<SocketEngine> builtIn = builtInEngine()) {
        builtIn->dropReplaced(deviceKey);
    }
}

std::shared_ptr<SocketEngine> EngineSlot::builtInEngine()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_builtIn;
}

void EngineSlot::stopEngine()
{
    std::shared_ptr<SocketEngine> builtIn;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        builtIn.swap(m_builtIn);
        if (builtIn) {
            m_engine.reset();
        }
    }
    if (builtIn) {
        builtIn->stop();
    }
}

void EngineSlot::stopLoop()
{
    std::shared_ptr<IoLoop> stopped;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        // A thread cannot join itself: if an observer on the loop's thread ends the process, the loop stays.
        if (m_loop && !m_loop->isHere()) {
            stopped.swap(m_loop);
        }
    }
    if (stopped) {
        stopped->stop();
    }
}

} // namespace Krelm::Communicator::HttpDevice
