// SPDX-License-Identifier: MIT
//
// The list of operations against the headers of the library: neither has what the other lacks.
#include "tesselctl/operations/requestprobe.h"
#include <operations/operationlist.h>
#include <operations/operators.h>

#include <QDir>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

using namespace TesselCtl;
using namespace Tessel::Operations;
using Tessel::Protocol;

namespace {

/// Public functions without rows.
const QStringList notCallable{
    // They switch how this process answers later calls, and tesselctl ends with the call.
    "CabinetInfoOperator::startWatch",
    "CabinetInfoOperator::shutDownWatch",
    "HWInfo::startWatch",
    "HWInfo::shutDownWatch",
    "InputInfo::startWatch",
    "InputInfo::shutDownWatch",
    "OutputInfoOperator::startWatch",
    "OutputInfoOperator::shutDownWatch",
    "ScreenInfo::startWatch",
    "ScreenInfo::shutDownWatch",
    // What a pushed event enters by.
    "UrlResource::MonitorInfo::slot_onDeviceAutoReport",
    // Not about a device: watch starts the transport, routes lists the route table.
    "DeviceManager::initManager",
    "AllUrlResource::getMapAllUrl",
    "AllUrlResource::getUrl",
};

QString withoutComments(QString source)
{
    static const QRegularExpression line("//[^\n]*");
    static const QRegularExpression block(R"(/\*.*?\*/)", QRegularExpression::DotMatchesEverythingOption);
    return source.remove(line).remove(block);
}

QString withoutTexts(QString source)
{
    static const QRegularExpression raw(R"raw(R"(\w*)\(.*?\)\1")raw",
                                        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression quoted(R"('"'|"(?:[^"\\\n]|\\.)*")");
    return source.remove(raw).remove(quoted);
}

/// The text between the brace at @p open and its closing brace.
QString bracedText(const QString& source, int open)
{
    int depth = 0;
    for (int i = open; i < source.size(); ++i) {
        depth += source[i] == '{' ? 1 : 0;
        depth -= source[i] == '}' ? 1 : 0;
        if (depth == 0) {
            return source.mid(open + 1, i - open - 1);
        }
    }
    return {};
}

/// The names of the public functions of a class, once per overload, signals and getInstance() left out.
QStringList publicFunctions(const QString& body)
{
    static const QRegularExpression section(
        R"(\b(public Q_SLOTS|public|private|protected|Q_SIGNALS)\s*:(?!:))");
    static const QRegularExpression declaration(
        R"(^\s*(?:Q_OBJECT\s+)?[\w:<>,&\s]+?[\s>](\w+)\s*\([^()]*(?:\([^()]*\)[^()]*)*\)\s*$)");
    QStringList names;
    QRegularExpressionMatchIterator sections = section.globalMatch(body);
    while (sections.hasNext()) {
        const QRegularExpressionMatch from = sections.next();
        if (!from.captured(1).startsWith("public")) {
            continue;
        }
        const int end = sections.hasNext() ? sections.peekNext().capturedStart() : body.size();
        const QString text = body.mid(from.capturedEnd(), end - from.capturedEnd());
        for (const QString& statement : text.split(';')) {
            const QRegularExpressionMatch match = declaration.match(statement);
            if (match.hasMatch() && match.captured(1) != "getInstance") {
                names << match.captured(1);
            }
        }
    }
    return names;
}

/// How many public overloads each function of the library's classes has, by its qualified name.
QMap<QString, int> functionsOfTheHeaders()
{
    static const QRegularExpression head(R"(class TESSEL_EXPORT (\w+) : public QObject\s*\{)");
    QMap<QString, int> functions;
    const QDir directory(TESSEL_SOURCE_DIR "/tessel");
    for (const QString& name : directory.entryList({"*.h"}, QDir::Files)) {
        QFile file(directory.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        const QString source = withoutComments(QString::fromUtf8(file.readAll()));
        const QString space = source.contains("namespace UrlResource") ? "UrlResource::" : "";
        QRegularExpressionMatchIterator classes = head.globalMatch(source);
        while (classes.hasNext()) {
            const QRegularExpressionMatch one = classes.next();
            for (const QString& function : publicFunctions(bracedText(source, one.capturedEnd() - 1))) {
                ++functions[space + one.captured(1) + "::" + function];
            }
        }
    }
    return functions;
}

QString textOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The code of each test of the library with that of the headers beside it which it includes: without
/// comments and texts, and with aliases of classes written out.
QStringList codeOfTheTests()
{
    static const QRegularExpression include("#include \"(\\w+\\.h)\"");
    static const QRegularExpression alias(R"(\busing (\w+) = (\w+);)");
    QStringList tests;
    const QDir directory(TESSEL_SOURCE_DIR "/tests/tessel");
    for (const QString& name : directory.entryList({"*.cpp"}, QDir::Files)) {
        QString source = textOf(directory.filePath(name));
        for (auto header = include.globalMatch(source); header.hasNext();) {
            source += textOf(directory.filePath(header.next().captured(1)));
        }
        // In this order: a text may hold what looks like a comment.
        QString code = withoutComments(withoutTexts(source));
        for (auto it = alias.globalMatch(code); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            code.replace(QRegularExpression("\\b" + match.captured(1) + "::"), match.captured(2) + "::");
        }
        tests << code;
    }
    return tests;
}

QMap<QString, int> rowsOfTheList()
{
    QMap<QString, int> rows;
    for (const Operation& operation : allOperations()) {
        ++rows[operation.qualifiedName()];
    }
    return rows;
}

} // namespace

class TestOperationList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyPublicFunctionHasItsRows();
    void everyRowHasItsFunction();
    void everyClassWithRowsIsAmongTheOperators();
    void theReadmeTellsHowManyThereAre();
    void whatIsNotCallableIsDeclared();
    void argumentsOfOneKindHaveOneName();
    void everyPublicFunctionIsExported();
    void everyPublicFunctionIsTested();
    void everyOperationIsProbedWithoutWaiting();
    void formsAreWrittenWhereFormsAreSent();
    void aProbeTellsWhatIsSent();
    void aProbeIsNotAnsweredByACache();
};

void TestOperationList::everyPublicFunctionHasItsRows()
{
    const QMap<QString, int> functions = functionsOfTheHeaders();
    QVERIFY(functions.size() > 500);
    const QMap<QString, int> rows = rowsOfTheList();
    QStringList missing;
    for (auto function = functions.begin(); function != functions.end(); ++function) {
        const int expected = notCallable.contains(function.key()) ? 0 : function.value();
        if (rows.value(function.key()) != expected) {
            missing << QString("%1: %2 rows, %3 overloads")
                           .arg(function.key())
                           .arg(rows.value(function.key()))
                           .arg(expected);
        }
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join('\n')));
}

void TestOperationList::everyRowHasItsFunction()
{
    const QMap<QString, int> functions = functionsOfTheHeaders();
    for (const Operation& operation : allOperations()) {
        QVERIFY2(functions.contains(operation.qualifiedName()), qPrintable(operation.qualifiedName()));
    }
}

void TestOperationList::everyClassWithRowsIsAmongTheOperators()
{
    QStringList classes;
    for (const Operation& operation : allOperations()) {
        classes << operation.qualifiedName().section("::", 0, -2);
    }
    classes.removeDuplicates();
    classes.sort();
    QStringList operators;
    for (const QObject* one : allOperators()) {
        operators << one->metaObject()->className();
    }
    operators.sort();
    QCOMPARE(operators, classes);
}

void TestOperationList::theReadmeTellsHowManyThereAre()
{
    const QString page = textOf(TESSEL_SOURCE_DIR "/README.md");
    const QRegularExpressionMatch match = QRegularExpression("some (\\d+) operations").match(page);
    QVERIFY(match.hasMatch());
    const int off = match.captured(1).toInt() - int(allOperations().size());
    QVERIFY2(qAbs(off) < 10, qPrintable(QString("there are %1").arg(allOperations().size())));
}

void TestOperationList::whatIsNotCallableIsDeclared()
{
    const QMap<QString, int> functions = functionsOfTheHeaders();
    for (const QString& name : notCallable) {
        QVERIFY2(functions.contains(name), qPrintable(name));
    }
}

void TestOperationList::argumentsOfOneKindHaveOneName()
{
    for (const Operation& operation : allOperations()) {
        for (const Parameter& parameter : operation.parameters) {
            const char* const name =
                parameter.type == ValueType::TextMap && parameter.direction == Parameter::In ? "query"
                : parameter.type == ValueType::Parts                                         ? "parts"
                : parameter.source == Parameter::HttpStatus                                  ? "status"
                : parameter.source == Parameter::ResponseHeaders                             ? "headers"
                                                                                             : nullptr;
            QVERIFY2(!name || parameter.name == QLatin1String(name), qPrintable(operation.usage()));
        }
    }
}

void TestOperationList::everyPublicFunctionIsExported()
{
    QProcess nm;
    nm.start("nm", {"-DC", "--defined-only", TESSEL_LIBRARY_FILE});
    QVERIFY(nm.waitForFinished(60000));
    QMap<QString, int> exported;
    static const QRegularExpression symbol(R"( [TW] ((?:\w+::)+\w+)\()");
    for (const QString& line : QString::fromUtf8(nm.readAllStandardOutput()).split('\n')) {
        const QRegularExpressionMatch match = symbol.match(line);
        if (match.hasMatch()) {
            ++exported[match.captured(1)];
        }
    }
    const QMap<QString, int> functions = functionsOfTheHeaders();
    for (auto function = functions.begin(); function != functions.end(); ++function) {
        QVERIFY2(exported.value(function.key()) >= function.value(), qPrintable(function.key()));
    }
}

// A test takes a function's address, under its class's name, or calls it on an object in a file that is about
// that class. Once for each overload: neither a comment nor a row's title counts.
void TestOperationList::everyPublicFunctionIsTested()
{
    const QStringList tests = codeOfTheTests();
    QVERIFY(tests.size() > 30);
    const QMap<QString, int> functions = functionsOfTheHeaders();
    QStringList missing;
    for (auto function = functions.begin(); function != functions.end(); ++function) {
        const QString name = function.key().section("::", -1);
        const QString ofClass = function.key().section("::", -2, -2);
        const QString object = ofClass + "::getInstance()";
        const QRegularExpression address("\\b" + ofClass + "::" + name + "\\b");
        const QRegularExpression call("(?:->|\\.)" + name + "\\s*\\(");
        int uses = 0;
        for (const QString& test : tests) {
            uses += test.count(address);
            uses += test.contains(object) ? test.count(call) : 0;
        }
        if (uses < function.value()) {
            missing
                << QString("%1: %2 uses, %3 overloads").arg(function.key()).arg(uses).arg(function.value());
        }
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join('\n')));
}

void TestOperationList::everyOperationIsProbedWithoutWaiting()
{
    RequestProbe probe;
    int silent = 0;
    for (const Operation& operation : allOperations()) {
        for (const auto& row : Tessel::protocols) {
            silent += probe.requestsOf(operation, row.protocol).empty() ? 1 : 0;
        }
    }
    // Those that send nothing at all: twice six.
    QCOMPARE(silent, 12);
}

void TestOperationList::formsAreWrittenWhereFormsAreSent()
{
    RequestProbe probe;
    int forms = 0;
    for (const Operation& operation : allOperations()) {
        const bool takes =
            std::any_of(operation.parameters.begin(), operation.parameters.end(),
                        [](const Parameter& parameter) { return parameter.type == ValueType::Parts; });
        const ProbedRequests requests = probe.requestsOf(operation, Protocol::MultiScreen);
        const bool sends = std::any_of(requests.begin(), requests.end(),
                                       [](const ProbedRequest& request) { return request.isForm; });
        QVERIFY2(takes == sends, qPrintable(operation.qualifiedName()));
        forms += takes ? 1 : 0;
    }
    QCOMPARE(forms, 7);
}

void TestOperationList::aProbeTellsWhatIsSent()
{
    RequestProbe probe;
    const auto sent = [&probe](const char* name, Protocol protocol) {
        const Lookup found = findOperation(allOperations(), name);
        return found.operations.empty() ? ProbedRequests() : probe.requestsOf(*found.operations[0], protocol);
    };
    QVERIFY(sent("getAllChipType", Protocol::SingleScreen) ==
            (ProbedRequests{{"GET", "/api/v1/device/capability/chips"}}));
    QVERIFY(sent("setCabSingleBrightness", Protocol::SingleScreen) ==
            (ProbedRequests{{"PUT", "/api/v1/device/cabinet/{id}/brightness"}}));
    QVERIFY(sent("getPixelImageMode", Protocol::SingleScreen) ==
            (ProbedRequests{{"PUT", "/api/v1/device/hwscreen/correction"}}));
    QVERIFY(sent("getPixelImageMode", Protocol::MultiScreen) ==
            (ProbedRequests{{"PUT", "/api/v1/screen/hwscreen/correction"}}));
    QVERIFY(sent("getHWDeviceType", Protocol::SingleScreen).empty());
}

void TestOperationList::aProbeIsNotAnsweredByACache()
{
    RequestProbe probe;
    const Operation& operation = *findOperation(allOperations(), "getOutputInfo").operations.at(0);
    QVERIFY(!probe.requestsOf(operation, Protocol::SingleScreen).empty());
    QVERIFY(probe.requestsOf(operation, Protocol::SingleScreen) ==
            probe.requestsOf(operation, Protocol::MultiScreen));
}

QTEST_GUILESS_MAIN(TestOperationList)
#include "tst_operationlist.moc"
