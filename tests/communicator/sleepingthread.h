// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_SLEEPINGTHREAD_H
#define TESTS_COMMUNICATOR_SLEEPINGTHREAD_H

#include "communicator/runtime/ioloop.h"

#include <QByteArray>
#include <QFile>

#include <sys/syscall.h>
#include <unistd.h>

/// The contents of the system's file @p name about @p thread.
inline QByteArray ofThread(pid_t thread, const char* name)
{
    QFile file(QStringLiteral("/proc/self/task/%1/%2").arg(thread).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline pid_t threadOf(Krelm::Communicator::HttpDevice::IoLoop& loop)
{
    pid_t thread = 0;
    loop.run([&thread] { thread = pid_t(::syscall(SYS_gettid)); });
    return thread;
}

/// Whether @p thread waits: one that turns in circles never does.
inline bool sleeps(pid_t thread)
{
    const QByteArray stat = ofThread(thread, "stat");
    return stat.mid(stat.lastIndexOf(')') + 2, 1) == "S";
}

#endif
