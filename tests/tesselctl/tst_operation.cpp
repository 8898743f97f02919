// SPDX-License-Identifier: MIT
#include "operations/rows/promiseresult.h"

#include <operations/operationlist.h>

#include <tessel/records/deviceinfo.h>

#include <QSet>
#include <QTimer>
#include <QtTest>

#include <stdexcept>

using namespace Tessel::Operations;

/// An operator with one operation per signature of interest.
class Operator : public QObject
{
    Q_OBJECT
public:
    static Operator* getInstance()
    {
        static Operator one;
        return &one;
    }

    bool read(const QString& deviceKey, QMap<QString, QVariant>& result)
    {
        result = {{"device", deviceKey}};
        return deviceKey == "wall";
    }
    bool everyInput(const QString& deviceKey, int number, qint64 big, bool flag, const QByteArray& bytes,
                    const QMap<QString, QVariant>& map, const QList<QVariant>& list,
                    const QMap<QString, QString>& texts, const QStringList& names, const QList<QString>& more,
                    const std::vector<QMap<QString, QVariant>>& maps, QList<QVariant>& result)
    {
        result = {deviceKey,       number,         big,       flag, bytes, map, list, texts.value("t"),
                  names.join('+'), more.join('-'), maps.at(1)};
        return true;
    }
    bool everyOutput(QMap<QString, QMap<QString, QVariant>>& a, QStringList& b, int& c,
                     QMap<QString, QString>& d, std::vector<QMap<QString, QVariant>>& e, QByteArray& f,
                     QString& g, bool& h, qint64& i)
    {
        a = {{"s", {{"x", 1}}}};
        b = QStringList{"p", "q"};
        c = 3;
        d = {{"k", "v"}};
        e = {{{"y", 2}}};
        f = "bytes";
        g = "text";
        h = true;
        i = 5;
        return true;
    }
    bool change(const QString& deviceKey, QMap<QString, QVariant>& items)
    {
        items.insert("device", deviceKey);
        return true;
    }
    void append(const QString& deviceKey, QList<QVariant>& result) { result.append(deviceKey); }
    bool get(const QString& deviceKey, bool force)
    {
        Q_UNUSED(deviceKey)
        return force;
    }
    bool get(const QString& deviceKey, int number, bool force)
    {
        Q_UNUSED(deviceKey)
        return force && number == 7;
    }
    QtPromise::QPromise<Tessel::DeviceInfo> record(const QString& deviceKey)
    {
        Tessel::DeviceInfo info;
        info.name = deviceKey;
        return later(info);
    }
    QtPromise::QPromise<QList<Tessel::DeviceInfo>> records(const QString& deviceKey)
    {
        Tessel::DeviceInfo info;
        info.mac = deviceKey;
        return later(QList<Tessel::DeviceInfo>{info});
    }
    QtPromise::QPromise<int> number(const QString& deviceKey)
    {
        return later(static_cast<int>(deviceKey.size()));
    }
    QtPromise::QPromise<void> nothing(const QString& deviceKey)
    {
        Q_UNUSED(deviceKey)
        return QtPromise::QPromise<void>::resolve();
    }
    QtPromise::QPromise<int> refuse(const QString& reason)
    {
        if (reason == "text") {
            return QtPromise::QPromise<int>::reject("arguments error");
        }
        if (reason == "exception") {
            return QtPromise::QPromise<int>::reject(std::runtime_error("thrown"));
        }
        return QtPromise::QPromise<int>{[](const QtPromise::QPromiseResolve<int>& /*resolve*/,
                                           const QtPromise::QPromiseReject<int>& reject) { reject(); }};
    }

private:
    template <class Value>
    static QtPromise::QPromise<Value> later(const Value& value)
    {
        return QtPromise::QPromise<Value>{[&](const QtPromise::QPromiseResolve<Value>& resolve) {
            QTimer::singleShot(0, [resolve, value] { resolve(value); });
        }};
    }
};

bool standIn(const QString& deviceKey, QString& result)
{
    result = deviceKey.toUpper();
    return true;
}

class TestOperation : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aRowKnowsItsNamesTypesAndDirections();
    void aCallHandsOverInputsAndTakesOutputs();
    void theOutcomeIsTheOperationsBool();
    void everyInputTypeArrives();
    void everyOutputTypeComesBack();
    void anInOutParameterIsWrittenAndReturned();
    void anOutputThatIsOnlyReadIsAnInput();
    void anOperationThatSaysNothingSucceeds();
    void aFunctionStandsInForAnOperation();
    void anOverloadIsPickedByItsSignature();
    void aPromiseOfARecordIsWaitedFor();
    void aPromiseOfRecordsIsAListOfMaps();
    void aPromiseOfAPlainValueIsThatValue();
    void aPromiseOfNothingSucceeds();
    void aRejectionTellsItsError_data();
    void aRejectionTellsItsError();
    void namesInTheListAreUniqueUpToOverloads();
    void everyRowOfTheListIsComplete();
};

void TestOperation::aRowKnowsItsNamesTypesAndDirections()
{
    const Operation row = operation("read", &Operator::read, {"deviceKey", "result"});
    QCOMPARE(row.qualifiedName(), QString("Operator::read"));
    QVERIFY(row.takesDevice());
    QVERIFY(row.userParameters().empty());
    QCOMPARE(row.outputNames(), std::vector<QString>{"result"});
    QCOMPARE(row.usage(), QString("Operator::read  ->  result"));
}

void TestOperation::aCallHandsOverInputsAndTakesOutputs()
{
    const Operation row = operation("read", &Operator::read, {"deviceKey", "result"});
    const CallResult result = row.invoke({"wall", QVariant()});
    QVERIFY(result.succeeded);
    QCOMPARE(result.outputs, (QVariantList{QVariantMap{{"device", "wall"}}}));
}

void TestOperation::theOutcomeIsTheOperationsBool()
{
    const Operation row = operation("read", &Operator::read, {"deviceKey", "result"});
    QVERIFY(!row.invoke({"other", QVariant()}).succeeded);
}

void TestOperation::everyInputTypeArrives()
{
    const Operation row = operation("everyInput", &Operator::everyInput,
                                    {"deviceKey", "number", "big", "flag", "bytes", "map", "list", "texts",
                                     "names", "more", "maps", "result"});
    QCOMPARE(row.userParameters().size(), std::size_t(10));
    const QVariantList values{"wall",
                              3,
                              qlonglong(1) << 40,
                              true,
                              QByteArray("b"),
                              QVariantMap{{"m", 1}},
                              QVariantList{1},
                              QVariantMap{{"t", 5}},
                              QVariantList{"x", "y"},
                              QVariantList{"u", "v"},
                              QVariantList{QVariantMap(), QVariantMap{{"second", 2}}},
                              QVariant()};
    const QVariantList expected{"wall",
                                3,
                                qlonglong(1) << 40,
                                true,
                                QByteArray("b"),
                                QVariantMap{{"m", 1}},
                                QVariantList{1},
                                "5",
                                "x+y",
                                "u-v",
                                QVariantMap{{"second", 2}}};
    QCOMPARE(row.invoke(values).outputs, (QVariantList{QVariant(expected)}));
}

void TestOperation::everyOutputTypeComesBack()
{
    const Operation row =
        operation("everyOutput", &Operator::everyOutput, {"a", "b", "c", "d", "e", "f", "g", "h", "i"});
    QVERIFY(!row.takesDevice());
    const QVariantList expected{QVariantMap{{"s", QVariantMap{{"x", 1}}}},
                                QVariantList{"p", "q"},
                                3,
                                QVariantMap{{"k", "v"}},
                                QVariantList{QVariantMap{{"y", 2}}},
                                QByteArray("bytes"),
                                "text",
                                true,
                                qlonglong(5)};
    QCOMPARE(row.invoke({}).outputs, expected);
}

void TestOperation::anInOutParameterIsWrittenAndReturned()
{
    const Operation row = operation("change", &Operator::change, {"deviceKey", inout("items")});
    QCOMPARE(row.userParameters(), std::vector<std::size_t>{1});
    QCOMPARE(row.outputNames(), std::vector<QString>{"items"});
    QCOMPARE(row.invoke({"wall", QVariantMap{{"a", 1}}}).outputs,
             (QVariantList{QVariantMap{{"a", 1}, {"device", "wall"}}}));
}

void TestOperation::anOutputThatIsOnlyReadIsAnInput()
{
    const Operation row = operation("change", &Operator::change, {"deviceKey", in("items")});
    QCOMPARE(row.userParameters(), std::vector<std::size_t>{1});
    QVERIFY(row.outputNames().empty());
    QVERIFY(row.invoke({"wall", QVariantMap{{"a", 1}}}).outputs.isEmpty());
}

void TestOperation::anOperationThatSaysNothingSucceeds()
{
    const CallResult result =
        operation("append", &Operator::append, {"deviceKey", "result"}).invoke({"wall", QVariant()});
    QVERIFY(result.succeeded);
    QCOMPARE(result.outputs, (QVariantList{QVariantList{"wall"}}));
}

void TestOperation::aFunctionStandsInForAnOperation()
{
    const Operation row = operation<Operator>("other", &standIn, {"deviceKey", "result"});
    QCOMPARE(row.qualifiedName(), QString("Operator::other"));
    QCOMPARE(row.invoke({"wall", QVariant()}).outputs, QVariantList{"WALL"});
}

void TestOperation::anOverloadIsPickedByItsSignature()
{
    const Operation one =
        operation("get", qOverload<const QString&, bool>(&Operator::get), {"deviceKey", "force"});
    const Operation two = operation("get", qOverload<const QString&, int, bool>(&Operator::get),
                                    {"deviceKey", "number", "force"});
    QVERIFY(one.invoke({"wall", true}).succeeded);
    QVERIFY(two.invoke({"wall", 7, true}).succeeded);
    QVERIFY(!two.invoke({"wall", 8, true}).succeeded);
}

void TestOperation::aPromiseOfARecordIsWaitedFor()
{
    const Operation row = operation("record", &Operator::record, {"deviceKey"});
    const CallResult result = row.invoke({"wall"});
    QVERIFY(result.succeeded);
    QCOMPARE(result.outputs.size(), 1);
    QCOMPARE(result.outputs.first().toMap().value("name").toString(), QString("wall"));
    QVERIFY(result.outputs.first().toMap().contains("mac"));
}

void TestOperation::aPromiseOfRecordsIsAListOfMaps()
{
    const CallResult result = operation("records", &Operator::records, {"deviceKey"}).invoke({"wall"});
    QVERIFY(result.succeeded);
    const QVariantList list = result.outputs.value(0).toList();
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.first().toMap().value("mac").toString(), QString("wall"));
}

void TestOperation::aPromiseOfAPlainValueIsThatValue()
{
    QCOMPARE(operation("number", &Operator::number, {"deviceKey"}).invoke({"wall"}).outputs, QVariantList{4});
}

void TestOperation::aPromiseOfNothingSucceeds()
{
    const CallResult result = operation("nothing", &Operator::nothing, {"deviceKey"}).invoke({"wall"});
    QVERIFY(result.succeeded);
    QVERIFY(result.outputs.isEmpty());
}

void TestOperation::aRejectionTellsItsError_data()
{
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("told");
    QTest::newRow("text") << "text"
                          << "arguments error";
    QTest::newRow("exception") << "exception"
                               << "thrown";
    QTest::newRow("none") << "none"
                          << "";
}

void TestOperation::aRejectionTellsItsError()
{
    QFETCH(QString, reason);
    QFETCH(QString, told);
    const CallResult result = operation("refuse", &Operator::refuse, {"reason"}).invoke({reason});
    QVERIFY(!result.succeeded);
    QVERIFY(result.outputs.isEmpty());
    QCOMPARE(result.error, told);
}

void TestOperation::namesInTheListAreUniqueUpToOverloads()
{
    QSet<QString> usages;
    for (const Operation& one : allOperations()) {
        QVERIFY2(!usages.contains(one.usage()), qPrintable(one.usage()));
        usages.insert(one.usage());
    }
}

void TestOperation::everyRowOfTheListIsComplete()
{
    QVERIFY(!allOperations().empty());
    for (const Operation& one : allOperations()) {
        QVERIFY(one.invoke);
        QSet<QString> names;
        for (const Parameter& parameter : one.parameters) {
            names.insert(parameter.name);
        }
        QVERIFY2(names.size() == static_cast<int>(one.parameters.size()), qPrintable(one.usage()));
        QVERIFY2(!names.contains(QString()), qPrintable(one.usage()));
        for (const Parameter& parameter : one.parameters) {
            const QString text = one.usage() + ": " + parameter.name;
            // A row's parameter says what it is by its function, such as in(), and not in its name.
            QVERIFY2(!parameter.name.contains(' '), qPrintable(text));
            const bool isOutput = parameter.direction != Parameter::In;
            QVERIFY2(isOutput || parameter.source == Parameter::Body, qPrintable(text));
            // A body holds neither a status nor texts alone.
            const bool holdsHeaders = isOutput && parameter.type == ValueType::TextMap;
            QVERIFY2(holdsHeaders == (parameter.source == Parameter::ResponseHeaders), qPrintable(text));
            const bool holdsStatus = isOutput && parameter.type == ValueType::Integer;
            QVERIFY2(holdsStatus == (parameter.source == Parameter::HttpStatus), qPrintable(text));
        }
    }
}

QTEST_GUILESS_MAIN(TestOperation)
#include "tst_operation.moc"
