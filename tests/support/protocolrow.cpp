// SPDX-License-Identifier: MIT
#include "protocolrow.h"

#include "deviceside.h"
#include "recordingengine.h"

#include <tessel/allurlresource.h>
#include <tessel/hwinfo.h>

#include <QtTest>

void checkRouteByProtocol(const ProtocolRow& row)
{
    RecordingEngine* engine = RecordingEngine::install();
    engine->answer(RecordingEngine::data(R"([{"id":"1"}])"));
    const QString device = DeviceSide::fresh();
    row.call(device);
    QCOMPARE(engine->last().deviceKey, device);
    QCOMPARE(engine->last().path, AllUrlResource::getUrl(QLatin1String(row.single)));
    const QMap<QString, QString> placeHolders = engine->last().placeHolders;

    QVERIFY(HWInfo::getInstance()->getHwProtoc(device, true));
    row.call(device);
    QCOMPARE(engine->last().path, AllUrlResource::getUrl(QLatin1String(row.multi)));
    QCOMPARE(engine->last().placeHolders, placeHolders);
}
