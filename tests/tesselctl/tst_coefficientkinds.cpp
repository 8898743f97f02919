// SPDX-License-Identifier: MIT
//
// The kinds of coefficients against the command line, the simulated controller's routes and the documents.
#include "program.h"

#include <recordingengine.h>

#include <simulator/routes/routetable.h>
#include <tesselctl/commands/coefficientkind.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <algorithm>

using Tessel::Simulator::CoefficientAction;
using Tessel::Simulator::Route;
using Tessel::Simulator::RouteTable;

namespace {

/// The controller's route of the request that @p call makes.
template <class Call>
const Route& routeOf(RecordingEngine* engine, const Call& call)
{
    static const Route none;
    engine->forget();
    call();
    if (engine->count() != 1) {
        return none;
    }
    const std::string path = engine->last().path.toStdString();
    const auto& routes = RouteTable::instance().routes();
    const auto found =
        std::find_if(routes.begin(), routes.end(), [&](const Route& route) { return route.pattern == path; });
    return found == routes.end() ? none : *found;
}

bool does(const Route& route, CoefficientAction::Step step, Tessel::CoefficientKind kind)
{
    const auto& actions = route.coefficientActions;
    return std::any_of(actions.begin(), actions.end(), [&](const CoefficientAction& action) {
        return action.step == step && action.kind == kind;
    });
}

QStringList names()
{
    QStringList all;
    for (const auto& row : Tessel::coefficientKinds) {
        all << row.name;
    }
    return all;
}

} // namespace

class TestCoefficientKinds : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theRoutesOfAKindAreThoseOfTheController_data()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const auto& row : Tessel::coefficientKinds) {
            QTest::newRow(row.name) << index++;
        }
    }
    void theRoutesOfAKindAreThoseOfTheController()
    {
        QFETCH(int, index);
        const auto& row = Tessel::coefficientKinds[static_cast<std::size_t>(index)];
        const auto& kind = TesselCtl::coefficientKind(row.name);
        QCOMPARE(kind.kind, row.kind);

        using Map = QMap<QString, QVariant>;
        using List = QList<QVariant>;
        RecordingEngine* const engine = RecordingEngine::install();
        Correctionop* const all = Correctionop::getInstance();
        const QString device = QStringLiteral("wall");
        const auto own = std::make_optional(row.kind);
        QCOMPARE(routeOf(engine, [&] { (all->*kind.upload)(device, {}); }).coefficients, own);
        if (kind.uploadCabinet) {
            QCOMPARE(routeOf(engine, [&] { (all->*kind.uploadCabinet)(device, "1", {}); }).coefficients, own);
        }
        if (kind.load) {
            // The library reads adaptive tables by the path of the multilayer ones.
            const bool adaptive = row.kind == Tessel::CoefficientKind::Adaptive;
            List list;
            QCOMPARE(routeOf(engine, [&] { (all->*kind.load)(device, "1", list); }).coefficients,
                     adaptive ? std::make_optional(Tessel::CoefficientKind::Multilayer) : own);
        }
        Map reply;
        if (kind.save) {
            QVERIFY(does(routeOf(engine, [&] { (all->*kind.save)(device, {}, reply); }),
                         CoefficientAction::Step::Copy, row.kind));
        }
        if (kind.clear) {
            QVERIFY(does(routeOf(engine, [&] { (all->*kind.clear)(device, {}, reply); }),
                         CoefficientAction::Step::Clear, row.kind));
        }
    }

    void helpAndDocumentNameTheKindsAndNoOther()
    {
        QCOMPARE(TesselCtl::coefficientKindNames(), names());
        const QString help =
            QString::fromUtf8(run({"coefficients", "upload", "--help"}).out).simplified().remove(' ');
        QVERIFY2(help.contains('{' + names().join(',') + '}'), qPrintable(help));
        const Run overview = run({"coefficients", "--help"});
        QVERIFY2(overview.out.contains("Kinds: " + names().join(", ").toUtf8() + '.'), overview.out);

        QFile file(TESSEL_SOURCE_DIR "/docs/commandline.md");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString page = QString::fromUtf8(file.readAll()).simplified();
        const QString kinds = QRegularExpression("`--kind` is ([^.]*)\\.").match(page).captured(1);
        QStringList documented;
        for (auto it = QRegularExpression("`([a-z]+)`").globalMatch(kinds); it.hasNext();) {
            documented << it.next().captured(1);
        }
        QCOMPARE(documented, names());
    }

    void anUnknownKindIsAnErrorThatNamesTheKinds()
    {
        const Run run = ::run({"--device", "wall=127.0.0.1:1", "coefficients", "save", "--kind", "guess"});
        QCOMPARE(run.code, 2);
        for (const QString& name : names()) {
            QVERIFY2(run.err.contains(name.toUtf8()), run.err);
        }
    }
};

QTEST_GUILESS_MAIN(TestCoefficientKinds)
#include "tst_coefficientkinds.moc"
