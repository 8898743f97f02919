// SPDX-License-Identifier: MIT
#ifndef TESTS_CACHEDLISTTEST_H
#define TESTS_CACHEDLISTTEST_H

#include "deviceside.h"
#include "recordingengine.h"

#include <QObject>
#include <QVariant>

#include <functional>

/// Base class for tests of an operator that caches a list per device.
class CachedListTest : public QObject
{
protected:
    /// @p read calls the operator for the list; a cached one may be returned.
    using Read = std::function<bool(const QString& deviceKey, QList<QVariant>& list)>;
    explicit CachedListTest(Read read)
        : m_read(std::move(read))
    {}

    /// Sets a new engine and a device for which nothing is cached.
    void beginWithAFreshDevice()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
    }
    QList<QVariant> cachedList() const
    {
        QList<QVariant> list;
        m_read(m_device, list);
        return list;
    }
    void answerList(const QByteArray& list) { m_engine->answer(RecordingEngine::data(list)); }
    void push(const QByteArray& event) const { DeviceSide::push(m_device, event); }

    RecordingEngine* m_engine = nullptr;
    QString m_device;

private:
    const Read m_read;
};

#endif
