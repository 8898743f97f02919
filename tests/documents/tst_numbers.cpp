// SPDX-License-Identifier: MIT
//
// Checks the numbers in the documents against the constants in the sources.
#include "document.h"

#include <QtTest>

namespace {

constexpr qint64 kibibyte = 1 << 10;
constexpr qint64 mebibyte = 1 << 20;
constexpr qint64 gibibyte = 1 << 30;

/// Reads the integer expressions of constants: numbers, `+ - * <<`, brackets and casts in function form.
class Expression
{
public:
    explicit Expression(const QString& text)
        : m_text(text.simplified().remove(' '))
    {}
    /// @return the value, or -1 if the text is not such an expression.
    qint64 value()
    {
        const qint64 result = shift();
        return m_failed || m_at != m_text.size() ? -1 : result;
    }

private:
    bool take(const char* sign)
    {
        const QString wanted = QString::fromLatin1(sign);
        if (m_text.mid(m_at, wanted.size()) != wanted) {
            return false;
        }
        m_at += wanted.size();
        return true;
    }
    qint64 shift()
    {
        qint64 result = sum();
        while (take("<<")) {
            result <<= sum();
        }
        return result;
    }
    qint64 sum()
    {
        qint64 result = product();
        while (true) {
            if (take("+")) {
                result += product();
            } else if (take("-")) {
                result -= product();
            } else {
                return result;
            }
        }
    }
    qint64 product()
    {
        qint64 result = primary();
        while (take("*")) {
            result *= primary();
        }
        return result;
    }
    qint64 primary()
    {
        static const QRegularExpression cast("\\G[a-z_:0-9]*\\(");
        static const QRegularExpression number("\\G(0x[0-9a-f]+|[0-9']+)(?:U|L|UL)?(?![\\w.])");
        QRegularExpressionMatch match = number.match(m_text, m_at);
        if (match.hasMatch()) {
            m_at = match.capturedEnd();
            return match.captured(1).remove('\'').toLongLong(nullptr, 0);
        }
        match = cast.match(m_text, m_at);
        if (!match.hasMatch()) {
            m_failed = true;
            return 0;
        }
        m_at = match.capturedEnd();
        const qint64 result = shift();
        m_failed = m_failed || !take(")");
        return result;
    }

    const QString m_text;
    int m_at = 0;
    bool m_failed = false;
};

/// The value of the constant or default member @p name in a source; -1 when it is not there.
qint64 constantOf(const QString& file, const QString& name)
{
    const QRegularExpression definition("\\b" + name + "\\s*(?:=\\s*([^;]+);|\\{([^}]+)\\};)");
    const QRegularExpressionMatch match = definition.match(textOf(file));
    return match.hasMatch() ? Expression(match.captured(1) + match.captured(2)).value() : -1;
}

struct Number
{
    const char* document;
    const char* phrase; ///< with %1 in the number's place; line breaks are blanks
    const char* file;
    const char* constant;
    qint64 unit; ///< in which the document counts
};

const char transportPage[] = "docs/transport.md";
const char architecturePage[] = "docs/architecture.md";
const char limits[] = "communicator/http/transferlimits.h";
const char policy[] = "communicator/events/reconnectpolicy.h";
const char quota[] = "communicator/events/proxyeventqueue.h";
const char requestQueue[] = "communicator/http/requestqueue.cpp";
const char keys[] = "json/keytable.cpp";

const Number numbers[] = {
    {transportPage, "%1 s when none is set", limits, "defaultExpectedTime", 1000},
    {transportPage, "%1 MiB of a body in memory", limits, "bodyBytes", mebibyte},
    {transportPage, "%1 MiB for all bodies being received into memory", limits, "allBodiesBytes", mebibyte},
    {transportPage, "%1 GiB of a download", limits, "downloadBytes", gibibyte},
    {transportPage, "%1 KiB and 256 lines of headers", limits, "headerBytes", kibibyte},
    {transportPage, "64 KiB and %1 lines of headers", limits, "headerLines", 1},
    {transportPage, "%1 levels of JSON", "json/jsonreader.h", "maxDepth", 1},
    {transportPage, "%1 Mi tokens of JSON", "json/jsonreader.h", "maxTokens", mebibyte},
    {transportPage, "replies of %1 MiB and more have the duration logged", "communicator/httpjsonpackage.cpp",
     "loggedDecodingSize", mebibyte},
    {transportPage, "%1 GiB of a JSON body or part", "json/jsonwriter.h", "maxSize", gibibyte},
    {transportPage, "%1 MiB of path and query", limits, "maxTargetLength", mebibyte},
    {transportPage, "%1 per device, the rest waits", requestQueue, "maxPerDevice", 1},
    {transportPage, "%1 events or 8 MiB may wait", quota, "maxEvents", 1},
    {transportPage, "events or %1 MiB may wait", quota, "maxBytes", mebibyte},
    {transportPage, "An event may have %1 MiB", "communicator/events/eventstream.cpp", "maxEventBytes",
     mebibyte},
    {transportPage, "opened again after %1 s,", policy, "firstDelay", 1000},
    {transportPage, "and so on up to %1 s", policy, "longestDelay", 1000},
    {transportPage, "after a stream has lasted %1 s", policy, "stableAfter", 1000},
    {transportPage, "after %1 s without a byte", policy, "silence", 1000},
    {transportPage, "A refused login waits %1 minutes", policy, "loginDelay", 60000},
    {transportPage, "After %1 s without contact", policy, "goneAfter", 1000},
    {transportPage, "counts as unanswered after %1 s", policy, "connect", 1000},
    {transportPage, "or with none within %1 s", policy, "proof", 1000},
    {transportPage, "at least %1 ms apart", policy, "reportGap", 1},
    {architecturePage, "| exchanges per device at once | %1 |", requestQueue, "maxPerDevice", 1},
    {architecturePage, "at most %1 per device run at once", requestQueue, "maxPerDevice", 1},
    {architecturePage, "| idle connections of blocking calls, per device | %1 |",
     "communicator/http/connectionpool.cpp", "maxIdlePerClass", 1},
    {architecturePage, "| one turn of a connection | %1 KiB |", "communicator/http/asyncexchange.cpp",
     "bytesPerTurn", kibibyte},
    {architecturePage, "| one turn of a stream | %1 KiB |", "communicator/events/eventstream.cpp",
     "bytesPerTurn", kibibyte},
    {architecturePage, "up to %1 KiB are read", "communicator/events/eventstream.cpp", "bytesPerTurn",
     kibibyte},
    {architecturePage, "| %1 or 8 MiB |", quota, "maxEvents", 1},
    {architecturePage, " or %1 MiB | beyond it the stream is not read", quota, "maxBytes", mebibyte},
    {architecturePage, "| bodies being received, in total | %1 MiB |", limits, "allBodiesBytes", mebibyte},
    {architecturePage, "| reserved for an announced length | %1 MiB |", "communicator/http/replyreader.cpp",
     "maxReserve", mebibyte},
    {architecturePage, "| remembered keys that are addresses | %1 |",
     "communicator/devices/deviceregistry.cpp", "maxRememberedAddresses", 1},
    {architecturePage, "only after %1 s of stream", policy, "stableAfter", 1000},
    {architecturePage, "%1 s when no time limit is set", limits, "defaultExpectedTime", 1000},
    {architecturePage, "names are bounded by %1 Ki units", keys, "baseNameLimit", kibibyte},
    {architecturePage, "Ki units and %1 for each byte of text", keys, "nameLimitPerByte", 1},
    {architecturePage, "at most %1 Mi in all", keys, "maxNameLimit", mebibyte},
    {architecturePage, "| tokens of one reply | %1 Mi |", "json/jsonreader.h", "maxTokens", mebibyte},
    {architecturePage, "beyond %1 keys", keys, "retainedKeys", 1},
    {architecturePage, "keys or %1 Ki", keys, "retainedLength", kibibyte},
};

} // namespace

class TestNumbers : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void expressionsAreRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("value");
        QTest::newRow("number") << "4096" << qint64(4096);
        QTest::newRow("hexadecimal") << "0x7fffffff - 64 * 1024" << qint64(0x7fffffff - 64 * 1024);
        QTest::newRow("sum of shifts") << "(1U << 20U) + (64U << 10U)" << qint64((1 << 20) + (64 << 10));
        QTest::newRow("cast") << "std::size_t(64) * 1024" << qint64(65536);
        QTest::newRow("name") << "std::numeric_limits<int>::max() / 3" << qint64(-1);
        QTest::newRow("nothing") << "" << qint64(-1);
        QTest::newRow("fraction") << "0.3" << qint64(-1);
    }
    void expressionsAreRead()
    {
        QFETCH(QString, text);
        QTEST(Expression(text).value(), "value");
    }

    void aNumberIsThatOfItsConstant_data()
    {
        QTest::addColumn<int>("row");
        for (std::size_t row = 0; row < std::size(numbers); ++row) {
            QTest::addRow("%s: %s", numbers[row].document, numbers[row].constant) << int(row);
        }
    }
    void aNumberIsThatOfItsConstant()
    {
        QFETCH(int, row);
        const Number& number = numbers[row];
        const qint64 value = constantOf(number.file, number.constant);
        QVERIFY2(value > 0, qPrintable(QString(number.file) + " has no constant " + number.constant));
        const qint64 shown = (value + number.unit / 2) / number.unit;
        // Thousands are grouped where the page is for reading more than for looking up.
        const QString page = textOf(number.document).simplified();
        const QString plain = QString(number.phrase).arg(shown);
        const QString grouped = QString(number.phrase).arg(QLocale(QLocale::English).toString(shown));
        QVERIFY2(page.contains(plain) || page.contains(grouped),
                 qPrintable(QString("%1 does not say \"%2\"").arg(number.document, plain)));
    }

    void theShareOfJitterIsThatOfThePolicy()
    {
        const QStringList jitter = matchesIn(textOf(policy), "jitter = ([0-9.]+);");
        QCOMPARE(jitter.size(), 1);
        QVERIFY(textOf(transportPage)
                    .simplified()
                    .contains(QString("each shorter by up to %1 %").arg(qRound(jitter[0].toDouble() * 100))));
    }

    void theSharesOfDescriptorsAreThoseThatAreTaken()
    {
        const QString page = textOf(architecturePage).simplified();
        const auto share = [](const char* file, const char* pattern) {
            return matchesIn(textOf(file), pattern).value(0).toInt();
        };
        QCOMPARE(share("communicator/http/connectionpool.cpp", "descriptorBudget\\((\\d+)\\)"), 2);
        QCOMPARE(share("communicator/requestlimits.cpp", "normal = .*descriptorBudget\\((\\d+)\\)"), 4);
        QCOMPARE(share("communicator/requestlimits.cpp", "daemon = .*descriptorBudget\\((\\d+)\\)"), 16);
        QVERIFY(page.contains("half for idle connections of blocking calls, a quarter for non-blocking "
                              "exchanges, a sixteenth for daemon requests"));
        QCOMPARE(matchesIn(textOf("communicator/runtime/descriptorbudget.cpp"), "share, (\\d+, \\d+)\\)"),
                 QStringList{"16, 4096"});
        QVERIFY(page.contains("Each share is at least 16") && page.contains("at most 4,096"));
    }
};

QTEST_GUILESS_MAIN(TestNumbers)
#include "tst_numbers.moc"
