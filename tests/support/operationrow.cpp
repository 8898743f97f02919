// SPDX-License-Identifier: MIT
#include "operationrow.h"

#include "recordingengine.h"
#include "refusingengine.h"
#include "timelimits.h"

#include <communicator/httpproxy.h>

#include <tessel/allurlresource.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

const QByteArray sampleMap = R"({"code":7,"message":"odd","data":{"a":1,"b":{"c":"x"}}})";
constexpr int defaultExpectedTime = 10000; // the transport's
const QString contentType = QStringLiteral("Content-Type");
const QByteArray sampleList = R"({"code":7,"message":"odd","data":[{"a":{"b":1}},{"a":{"b":2}}]})";

Outputs usedOutputs()
{
    Outputs outputs;
    outputs.map.insert(QStringLiteral("stale"), 1);
    outputs.list.append(QStringLiteral("stale"));
    return outputs;
}

QVariant nested(int b)
{
    return QVariantMap{{QStringLiteral("a"), QVariantMap{{QStringLiteral("b"), qlonglong(b)}}}};
}

QVariant flat(int b)
{
    return QVariantMap{{QStringLiteral("a.b"), qlonglong(b)}};
}

void verifyUntouched(const Outputs& outputs)
{
    QCOMPARE(outputs.map, usedOutputs().map);
    QCOMPARE(outputs.list, usedOutputs().list);
}

void compareRequest(const RecordingEngine::Request& sent, const OperationRow& row)
{
    QCOMPARE(sent.deviceKey, sampleDevice);
    QCOMPARE(sent.path, AllUrlResource::getUrl(QLatin1String(row.routeKey)));
    QCOMPARE(static_cast<int>(sent.method), static_cast<int>(row.method));
    QCOMPARE(sent.body, row.body);
    QCOMPARE(sent.placeHolders, row.placeHolders);
    QCOMPARE(sent.parameters, row.parameters);
    QCOMPARE(sent.expectedTime, row.expectedTime.value_or(defaultExpectedTime));
    QCOMPARE(sent.daemon, row.daemon);
    QCOMPARE(sent.multipart, !row.parts.isEmpty());
    QCOMPARE(sent.parts, row.parts);
    QCOMPARE(sent.downloadPath, row.downloadPath);
    QMap<QString, QString> headers = sent.headers;
    // The proxy names the type of a JSON body.
    if (!row.headers.contains(contentType)) {
        headers.remove(contentType);
    }
    QCOMPARE(headers, row.headers);
}

int limitsOf(const OperationRow& row)
{
    return row.expectedTime ? 1 : 0;
}

} // namespace

void checkBlockingOperation(const OperationRow& row)
{
    RecordingEngine* engine = RecordingEngine::install();
    const bool isList = row.decoder == Decoder::FlatList || row.decoder == Decoder::ParsedList;
    QByteArray reply = isList ? sampleList : sampleMap;
    if (row.codeFails) {
        Outputs untouched = usedOutputs();
        engine->answer(RecordingEngine::reply(reply));
        QVERIFY2(!row.call(untouched), "a code counts as failure");
        verifyUntouched(untouched);
        engine = RecordingEngine::install();
        reply.replace("\"code\":7", "\"code\":0");
    }
    engine->answer(RecordingEngine::reply(reply));

    Outputs outputs = usedOutputs();
    const int limitsBefore = timeLimitsGiven();
    QVERIFY2(row.call(outputs), "a reply, whatever its code, counts as success");
    QCOMPARE(timeLimitsGiven() - limitsBefore, limitsOf(row));
    QCOMPARE(engine->count(), 1);
    compareRequest(engine->last(), row);
    switch (row.decoder) {
    case Decoder::None:
        verifyUntouched(outputs);
        break;
    case Decoder::Map:
        QCOMPARE(outputs.map, (QMap<QString, QVariant>{{QStringLiteral("a"), qlonglong(1)},
                                                       {QStringLiteral("b.c"), QStringLiteral("x")}}));
        break;
    case Decoder::FlatList:
        QCOMPARE(outputs.list, (QList<QVariant>{flat(1), flat(2)}));
        break;
    case Decoder::ParsedList:
        QCOMPARE(outputs.list, (QList<QVariant>{nested(1), nested(2)}));
        break;
    }

    engine->answer(RecordingEngine::failure());
    outputs = usedOutputs();
    QCOMPARE(row.call(outputs), row.onFailure == OnFailure::Unnoticed);
    if (row.decoder == Decoder::None || row.onFailure != OnFailure::EmptyOutput) {
        verifyUntouched(outputs);
    } else if (isList) {
        QVERIFY(outputs.list.isEmpty());
    } else {
        QVERIFY(outputs.map.isEmpty());
    }

    // What did not wait for its reply gets it here, not in the middle of a later test.
    QTRY_COMPARE(engine->held(), 0);
    QCoreApplication::processEvents();
}

void checkUnansweredOperation(const OperationRow& row)
{
    RecordingEngine* engine = RecordingEngine::install();
    engine->hold();
    Outputs outputs = usedOutputs();
    const int limitsBefore = timeLimitsGiven();
    QVERIFY(row.call(outputs));
    QCOMPARE(timeLimitsGiven() - limitsBefore, limitsOf(row));
    QCOMPARE(engine->held(), 1);
    QCOMPARE(engine->count(), 1);
    compareRequest(engine->last(), row);

    Outputs expected = usedOutputs();
    if (row.decoder == Decoder::Map) {
        expected.map.clear();
    } else if (row.decoder != Decoder::None) {
        expected.list.clear();
    }
    QCOMPARE(outputs.map, expected.map);
    QCOMPARE(outputs.list, expected.list);

    engine->answer(RecordingEngine::reply(sampleMap));
    QVERIFY(engine->release());
    QTRY_COMPARE(engine->held(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(outputs.map, expected.map);
    QCOMPARE(outputs.list, expected.list);

    HttpProxy::getInstance()->setEngine(std::make_unique<RefusingEngine>());
    outputs = usedOutputs();
    QCOMPARE(row.call(outputs), !row.startCounts);
    QCOMPARE(outputs.map, expected.map);
    QCOMPARE(outputs.list, expected.list);
    QCoreApplication::processEvents();
}
