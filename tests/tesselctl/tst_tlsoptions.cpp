// SPDX-License-Identifier: MIT
//
// The program's TLS options against a server that speaks TLS.
#include "program.h"
#include "tlsserver.h"

#include <QtTest>

namespace {

const QString chipPath = "/api/v1/device/capability/chips";

} // namespace

class TestTlsOptions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (!m_server.isAvailable()) {
            QSKIP("the openssl program is not installed");
        }
        QVERIFY(m_server.start());
        QVERIFY(m_server.serve(chipPath, R"({"code":0,"data":[{"id":1}]})"));
    }

    void whatTheOptionsTrustIsTrusted_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("its certificate") << QStringList{"--ca-file", m_server.certificate()};
        QTest::newRow("its key") << QStringList{"--pinned-key", m_server.pin()};
        QTest::newRow("both") << QStringList{"--ca-file", m_server.certificate(), "--pinned-key",
                                             m_server.pin()};
        QTest::newRow("anybody") << QStringList{"--insecure"};
    }
    void whatTheOptionsTrustIsTrusted()
    {
        QFETCH(QStringList, options);
        const Run run = call(options);
        QVERIFY2(run.code == 0, run.err);
        QCOMPARE(run.err, QByteArray());
        QVERIFY2(run.out.contains("\"id\""), run.out);
    }

    void whatTheyDoNotTrustIsRefusedAndTheReasonTold_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("told");
        const QString wrongPin = "sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=";
        const QString certificate = "certificate";
        const QString key = "public key";
        QTest::newRow("the system's authorities do not know it") << QStringList() << certificate;
        QTest::newRow("another certificate")
            << QStringList{"--ca-file", m_server.otherCertificate()} << certificate;
        QTest::newRow("another key") << QStringList{"--pinned-key", wrongPin} << key;
        QTest::newRow("another key, anybody") << QStringList{"--pinned-key", wrongPin, "--insecure"} << key;
        QTest::newRow("its key, another certificate")
            << QStringList{"--ca-file", m_server.otherCertificate(), "--pinned-key", m_server.pin()}
            << certificate;
        QTest::newRow("a file that is missing")
            << QStringList{"--ca-file", "/does/not/exist.pem"} << "/does/not/exist.pem";
    }
    void whatTheyDoNotTrustIsRefusedAndTheReasonTold()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, told);
        const Run run = call(options);
        QCOMPARE(run.code, 3);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.startsWith("tesselctl: wall: ") && run.err.contains(told.toUtf8()), run.err);
        QVERIFY2(run.err.count('\n') == 1, run.err);
    }

private:
    Run call(const QStringList& options) const
    {
        return run(QStringList{"--json", "--device", "wall=https://" + m_server.address(), "call",
                               "getAllChipType"} +
                   options);
    }

    TlsServer m_server;
};

QTEST_GUILESS_MAIN(TestTlsOptions)
#include "tst_tlsoptions.moc"
