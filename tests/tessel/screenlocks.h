// SPDX-License-Identifier: MIT
#ifndef TESTS_SCREENLOCKS_H
#define TESTS_SCREENLOCKS_H

#include <otherthread.h>
#include <recordingengine.h>

#include <tessel/screeninfo.h>

#include <QtTest>

/// Checks that @p call, which sends one request to @p deviceKey and whose cabinets are known where it needs
/// them, holds neither of ScreenInfo's locks meanwhile: another thread is answered from the property cache,
/// and stores into it.
template <class Call>
void checkNoLockDuringTheRequest(RecordingEngine* engine, const QString& deviceKey, Call call)
{
    const QString otherScreen = QStringLiteral("another");
    const auto read = [&](bool force) {
        QMap<QString, QVariant> out;
        ScreenInfo::getInstance()->get18bit(deviceKey, otherScreen, out, force);
    };
    read(true);
    engine->forget();
    OtherThread other;
    bool answered = false;
    bool stored = false;
    engine->answer([&](const RecordingEngine::Request& request) {
        if (request.placeHolders.value(QStringLiteral("id")) != otherScreen) {
            answered = other.getsThrough([&] { read(false); });
            stored = answered && other.getsThrough([&] { read(true); });
        }
        return RecordingEngine::data("[{}]");
    });
    QVERIFY(call());
    QCOMPARE(engine->count(), 2);
    QVERIFY2(answered, "the cache is not asked while it is locked");
    QVERIFY2(stored, "nothing is stored while the cache is locked");
}

#endif
