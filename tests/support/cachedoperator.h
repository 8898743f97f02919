// SPDX-License-Identifier: MIT
#ifndef TESTS_CACHEDOPERATOR_H
#define TESTS_CACHEDOPERATOR_H

#include <QByteArray>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <utility>
#include <vector>

/// An operator that caches an entry per device. A read fills it, and an event from the device refreshes it.
struct CachedOperator
{
    enum class Entry { Map, List };

    QObject* (*instance)();
    const char* routeKey; ///< of a read from a device of unknown protocol, and of a refresh
    Entry entry;
    std::function<bool(const QString& deviceKey, bool force)> load;
    /// The form that returns the entry in @p out, which is a map or a list like the entry.
    std::function<bool(const QString& deviceKey, QVariant& out, bool force)> read;
    std::function<void(bool on)> watch; ///< null if the operator always watches
    QByteArray event;                   ///< triggers a refresh
    QStringList members;                ///< the members of it that the operator examines
    /// The signals of a refresh that stored an entry, as SignalRecorder formats them.
    std::function<QStringList(const QString& deviceKey)> told = [](const QString&) { return QStringList(); };
    QStringList toldByRead = {};            ///< the signals of a read that stored an entry
    QMap<QString, QString> parameters = {}; ///< of a read; a refresh has none
    int expectedTime = 10000;               ///< of a read; a refresh uses the transport's default
    bool refreshBlocks = false;             ///< whether a refresh is a blocking read in the event handler
    bool forgetsOnLogout = true;
    /// The log lines of an event while the operator watches.
    std::function<QStringList(const QByteArray& event)> traceOfEvent = [](const QByteArray&) {
        return QStringList();
    };
    QStringList traceOfLogout = {}; ///< a regular expression for each line
    /// Further events that leave the cache alone and cause no signal, each with a name.
    std::vector<std::pair<const char*, QByteArray>> otherEvents = {};
};

class CachedOperatorBench;
/// One property of a cached operator.
using CachedOperatorCheck = std::function<void(CachedOperatorBench& bench)>;

Q_DECLARE_METATYPE(CachedOperatorCheck)

/// A CachedOperator::read that calls the member function @p read.
template <class Operator, class Entry>
std::function<bool(const QString&, QVariant&, bool)>
handingOut(bool (Operator::*read)(const QString& deviceKey, Entry& out, bool force))
{
    return [read](const QString& deviceKey, QVariant& out, bool force) {
        auto entry = out.value<Entry>();
        const bool ok = (Operator::getInstance()->*read)(deviceKey, entry, force);
        out = entry;
        return ok;
    };
}

/// Adds the column "check" and a row for each property that @p subject must have.
void addCachedOperatorChecks(const CachedOperator& subject);

/// Runs a check with a device for which nothing is cached and a new recording engine, while the operator
/// watches. Also checks the log: reads write nothing, events and logouts only what @p subject says.
void checkCachedOperator(const CachedOperator& subject, const CachedOperatorCheck& check);

#endif
