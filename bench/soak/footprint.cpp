// SPDX-License-Identifier: MIT
#include "footprint.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr double mebibyte = 1 << 20;

double residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return file.readAll().split(' ').value(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void countDescriptors(Footprint& found)
{
    DIR* const folder = opendir("/proc/self/fd");
    if (folder == nullptr) {
        return;
    }
    while (const dirent* const entry = readdir(folder)) {
        if (entry->d_type != DT_LNK || atoi(entry->d_name) == dirfd(folder)) {
            continue;
        }
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        const bool isSocket =
            getsockname(atoi(entry->d_name), reinterpret_cast<sockaddr*>(&address), &size) == 0;
        const bool isOfTheNetwork =
            isSocket && (address.ss_family == AF_INET || address.ss_family == AF_INET6);
        (isOfTheNetwork ? found.sockets : found.otherDescriptors) += 1;
    }
    closedir(folder);
}

QString sentence(const char* what, double was, double is, double allowed)
{
    return QStringLiteral("%1 grew from %2 to %3, allowed are %4 more")
        .arg(QLatin1String(what))
        .arg(was, 0, 'f', 1)
        .arg(is, 0, 'f', 1)
        .arg(allowed, 0, 'f', 0);
}

} // namespace

Footprint footprint()
{
    Footprint found;
    malloc_trim(0);
    const auto heap = mallinfo2();
    found.allocated = static_cast<double>(heap.uordblks + heap.hblkhd) / mebibyte;
    found.resident = residentBytes() / mebibyte;
    countDescriptors(found);
    found.threads =
        QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    return found;
}

bool canJudgeMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

Footprint greatestOf(const Footprint& one, const Footprint& other)
{
    Footprint greatest;
    greatest.resident = std::max(one.resident, other.resident);
    greatest.allocated = std::max(one.allocated, other.allocated);
    greatest.sockets = std::max(one.sockets, other.sockets);
    greatest.otherDescriptors = std::max(one.otherDescriptors, other.otherDescriptors);
    greatest.threads = std::max(one.threads, other.threads);
    return greatest;
}

QStringList growth(const Footprint& warm, const Footprint& now, const Allowance& allowance)
{
    QStringList sentences;
    const auto judge = [&](const char* what, double was, double is, double allowed) {
        if (is > was + allowed) {
            sentences << sentence(what, was, is, allowed);
        }
    };
    if (canJudgeMemory()) {
        judge("resident memory (MiB)", warm.resident, now.resident, allowance.resident);
        judge("allocated memory (MiB)", warm.allocated, now.allocated, allowance.allocated);
    }
    judge("the number of sockets", warm.sockets, now.sockets, allowance.sockets);
    judge("the number of other descriptors", warm.otherDescriptors, now.otherDescriptors,
          allowance.otherDescriptors);
    judge("the number of threads", warm.threads, now.threads, allowance.threads);
    return sentences;
}
