// SPDX-License-Identifier: MIT
//
// Uploads of a table whose conversion throws, or whose sending does.
#include <promiseoutcome.h>
#include <recordingengine.h>

#include <communicator/httpproxy.h>

#include <tessel/correctionop.h>

#include <QLoggingCategory>
#include <QtTest>

#include <new>
#include <thread>

using Krelm::Communicator::HttpDevice::HttpProxy;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

/// A value that JSON takes as its text, which it does not have.
struct Unwritable
{};
Q_DECLARE_METATYPE(Unwritable)

namespace {

const QString device = QStringLiteral("wall");
const QString cid = QStringLiteral("1");

using Upload = std::function<QString(const List& table)>;

template <class Result>
QString outcomeOf(const QtPromise::QPromise<Result>& promise)
{
    QString outcome = QStringLiteral("fulfilled");
    promise.then([](const Result&) {})
        .fail([&](const std::bad_alloc&) { outcome = QStringLiteral("rejected: memory"); })
        .fail([&](const std::runtime_error& error) { outcome = QStringLiteral("rejected: ") + error.what(); })
        .wait();
    return outcome;
}

Upload whole(QtPromise::QPromise<bool> (Correctionop::*upload)(const QString&, const List&))
{
    return [upload](const List& table) {
        return outcomeOf((Correctionop::getInstance()->*upload)(device, table));
    };
}

Upload cabinet(QtPromise::QPromise<Map> (Correctionop::*upload)(const QString&, const QString&, const List&))
{
    return [upload](const List& table) {
        return outcomeOf((Correctionop::getInstance()->*upload)(device, cid, table));
    };
}

Upload blocking(bool (Correctionop::*upload)(const QString&, const QString&, const List&, Map&))
{
    return [upload](const List& table) {
        Map result{{QStringLiteral("kept"), 1}};
        const bool ok = (Correctionop::getInstance()->*upload)(device, cid, table, result);
        return PromiseOutcome::text(ok) + ' ' + PromiseOutcome::text(result);
    };
}

} // namespace
Q_DECLARE_METATYPE(Upload)

class TestUploadsThatThrow : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    bool m_outOfMemory = false;

private Q_SLOTS:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
        QMetaType::registerConverter<Unwritable, QString>([this](const Unwritable&) -> QString {
            if (m_outOfMemory) {
                throw std::bad_alloc();
            }
            throw std::runtime_error("no text");
        });
        Correctionop::getInstance();
    }
    void init() { m_engine = RecordingEngine::install(); }

    void aTableThatCannotBeConvertedIsTheUploadsFailure_data()
    {
        using Op = Correctionop;
        QTest::addColumn<Upload>("upload");
        QTest::addColumn<bool>("blocks");
        QTest::newRow("uploadCoefficientAsync") << whole(&Op::uploadCoefficientAsync) << false;
        QTest::newRow("uploadMultilayerCoefficientAsync")
            << whole(&Op::uploadMultilayerCoefficientAsync) << false;
        QTest::newRow("uploadAdaptiveCoefficientAsync")
            << whole(&Op::uploadAdaptiveCoefficientAsync) << false;
        QTest::newRow("uploadDynamicCoefficientAsync") << whole(&Op::uploadDynamicCoefficientAsync) << false;
        QTest::newRow("uploadLowGrayCoefficientAsync") << whole(&Op::uploadLowGrayCoefficientAsync) << false;
        QTest::newRow("uploadCoefficient") << cabinet(&Op::uploadCoefficient) << false;
        QTest::newRow("uploadMultilayerCoefficient") << cabinet(&Op::uploadMultilayerCoefficient) << false;
        QTest::newRow("uploadDynamicCoefficient") << cabinet(&Op::uploadDynamicCoefficient) << false;
        QTest::newRow("uploadLowgrayCoefficient") << cabinet(&Op::uploadLowgrayCoefficient) << false;
        QTest::newRow("uploadCoefficient, blocking") << blocking(&Op::uploadCoefficient) << true;
        QTest::newRow("uploadMultilayerCoefficient, blocking")
            << blocking(&Op::uploadMultilayerCoefficient) << true;
        QTest::newRow("uploadDynamicCoefficient, blocking")
            << blocking(&Op::uploadDynamicCoefficient) << true;
        QTest::newRow("uploadLowgrayCoefficient, blocking")
            << blocking(&Op::uploadLowgrayCoefficient) << true;
    }
    void aTableThatCannotBeConvertedIsTheUploadsFailure()
    {
        QFETCH(Upload, upload);
        QFETCH(bool, blocks);
        const List table{QVariant::fromValue(Unwritable())};
        for (const bool outOfMemory : {false, true}) {
            m_outOfMemory = outOfMemory;
            const QString rejected =
                outOfMemory ? QStringLiteral("rejected: memory") : QStringLiteral("rejected: no text");
            QCOMPARE(upload(table), blocks ? QStringLiteral("false {\"kept\":1}") : rejected);
        }
        QCOMPARE(m_engine->count(), 0);
        QVERIFY2(!upload({1}).contains("rejected"), "the next one is sent");
        QCOMPARE(m_engine->count(), 1);
    }

    void onAThreadWithoutEventsTooAnUploadThatThrowsReturnsFalse()
    {
        QString conversion;
        QString sending;
        std::thread([&] {
            const Upload upload = blocking(&Correctionop::uploadCoefficient);
            conversion = upload({QVariant::fromValue(Unwritable())});
            HttpProxy::getInstance()->setEngine(std::make_unique<ThrowingEngine>());
            sending = upload({1});
        }).join();
        QCOMPARE(conversion, QStringLiteral("false {\"kept\":1}"));
        QCOMPARE(sending, QStringLiteral("false {\"kept\":1}"));
    }
};

QTEST_GUILESS_MAIN(TestUploadsThatThrow)
#include "tst_uploadsthatthrow.moc"
