// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_NOTHREADS_H
#define TESTS_COMMUNICATOR_NOTHREADS_H

#include <QtGlobal>

#include <pthread.h>

/// While it lives the system has no thread to give: none finds room for its stack.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_attr_init(&m_usual);
        pthread_getattr_default_np(&m_usual);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t(1) << 47); // all that a process can address
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&m_usual);
        pthread_attr_destroy(&m_usual);
    }

private:
    pthread_attr_t m_usual{};
    Q_DISABLE_COPY_MOVE(NoThreads)
};

#endif
