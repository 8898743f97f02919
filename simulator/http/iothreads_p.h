// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_IOTHREADS_P_H
#define SIMULATOR_HTTP_IOTHREADS_P_H

#include <simulator/iothreads.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <thread>
#include <vector>

namespace Tessel::Simulator {

class IoThreads::Private
{
public:
    explicit Private(int threads);
    ~Private();

    boost::asio::io_context context;

private:
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    std::vector<std::thread> m_threads;
};

} // namespace Tessel::Simulator

#endif
