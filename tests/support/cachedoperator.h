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

/// An operator that keeps an entry for each device, which a read fills and an event of the device renews.
struct CachedOperator
{
    enum class Entry { Map, List };

    QObject* (*instance)();
    const char* routeKey; ///< of a read on a device that told no protocol, and of a refresh
    Entry entry;
    std::function<bool(const QString& deviceKey, bool force)> load;
    /// The form that hands the entry out; @p out comes as a map or list, as the entry is.
    std::function<bool(const QString& deviceKey, QVariant& out, bool force)> read;
    std::function<void(bool on)> watch; ///< null: the operator cannot be kept from watching
    QByteArray event;                   ///< asks for a refresh
    QStringList members;                ///< what the operator looks at in it
    /// The signals of a refresh that stored, as SignalRecorder writes them.
    std::function<QStringList(const QString& deviceKey)> told = [](const QString&) { return QStringList(); };
    QStringList toldByRead = {};            ///< the signals of a read that stored
    QMap<QString, QString> parameters = {}; ///< of a read; a refresh has none
    int expectedTime = 10000;               ///< of a read; a refresh has the transport's default
    bool refreshBlocks = false;             ///< a refresh is a read in the middle of the event
    bool forgetsOnLogout = true;
    /// What an event writes to the log while the operator watches.
    std::function<QStringList(const QByteArray& event)> traceOfEvent = [](const QByteArray&) {
        return QStringList();
    };
    QStringList traceOfLogout = {}; ///< a regular expression for each line
    /// Further events that mean nothing to the cache and raise nothing, each behind its name.
    std::vector<std::pair<const char*, QByteArray>> otherEvents = {};
};

class CachedOperatorBench;
/// One thing that holds for a cached operator.
using CachedOperatorCheck = std::function<void(CachedOperatorBench& bench)>;

Q_DECLARE_METATYPE(CachedOperatorCheck)

/// CachedOperator::read of an operator that hands out by this member.
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

/// Adds the column "check" and a row for each thing that has to hold for @p subject.
void addCachedOperatorChecks(const CachedOperator& subject);

/// Runs a check on a device of which nothing is cached, behind a new recording engine and while the operator
/// watches. Whatever the check does, reads write nothing to the log, events and logouts what @p subject says.
void checkCachedOperator(const CachedOperator& subject, const CachedOperatorCheck& check);

#endif
