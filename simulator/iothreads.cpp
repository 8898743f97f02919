// SPDX-License-Identifier: MIT
#include <simulator/http/iothreads_p.h>

namespace Tessel::Simulator {

IoThreads::Private::Private(int threads)
    : context(threads)
    , m_work(context.get_executor())
{
    for (int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this] { context.run(); });
    }
}

IoThreads::Private::~Private()
{
    m_work.reset();
    context.stop();
    for (auto& thread : m_threads) {
        thread.join();
    }
}

IoThreads::IoThreads(int threads)
    : m_d(std::make_unique<Private>(threads))
{}

IoThreads::~IoThreads() = default;

} // namespace Tessel::Simulator
