// SPDX-License-Identifier: MIT
//
// Compares the quirks tagged in the sources with those explained in docs/quirks.md.
#include "absentroutekeys.h"
#include <sourcetree.h>

#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

namespace {

const char* const libraries[] = {"tessel", "interfaces", "communicator", "zephserializer", "json",
                                 "files",  "qtpromise",  "operations",   "simulator",      "tesselctl"};
const char* const parts[] = {"Operations", "Expected", "What happens", "Relied on", "Tagged in"};

QStringList allSources()
{
    QStringList files;
    for (const char* library : libraries) {
        files += sourcesBelow(library);
    }
    return files;
}

/// A title ends with its sentence; what follows belongs to the place.
QString titleOf(const QString& comment)
{
    static const QRegularExpression end("\\.(\\s|$)");
    return comment.left(comment.indexOf(end)).simplified();
}

/// The titles of the tags in @p file. A comment goes on in the lines below until the next tag.
QStringList tagsIn(const QString& file)
{
    static const QRegularExpression tag("^[ \t]*// Quirk: (.*(?:\n[ \t]*// (?!Quirk:).*)*)$",
                                        QRegularExpression::MultilineOption);
    static const QRegularExpression lead("\n[ \t]*// ");
    QStringList titles;
    auto match = tag.globalMatch(textOf(file));
    while (match.hasNext()) {
        titles << titleOf(match.next().captured(1).replace(lead, " "));
    }
    return titles;
}

/// The files of each tagged title.
const QMap<QString, QSet<QString>>& tags()
{
    static const auto all = [] {
        QMap<QString, QSet<QString>> files;
        for (const QString& file : allSources()) {
            for (const QString& title : tagsIn(file)) {
                files[title] << file;
            }
        }
        return files;
    }();
    return all;
}

/// All that the public headers of operators and platform libraries declare.
const QString& declarations()
{
    static const QString all = [] {
        QString text;
        for (const char* library : {"tessel", "interfaces"}) {
            for (const QString& file : sourcesBelow(library)) {
                if (file.endsWith(".h")) {
                    text += textOf(file);
                }
            }
        }
        return text;
    }();
    return all;
}

using Entry = QMap<QString, QString>; ///< part to text

/// The entries of the document by their titles.
QMap<QString, Entry> entries()
{
    static const QRegularExpression item("^\\* ([A-Z][a-z ]+): ((?:.|\n  )*)",
                                         QRegularExpression::MultilineOption);
    QMap<QString, Entry> all;
    const QStringList sections = textOf("docs/quirks.md").split("\n### ").mid(1);
    for (const QString& section : sections) {
        Entry& entry = all[section.section('\n', 0, 0)];
        auto match = item.globalMatch(section.section("\n## ", 0, 0));
        while (match.hasNext()) {
            const auto part = match.next();
            entry[part.captured(1)] = part.captured(2).simplified();
        }
    }
    return all;
}

QSet<QString> quoted(const QString& text, const QString& pattern)
{
    const QRegularExpression word('`' + pattern + '`');
    QSet<QString> words;
    auto match = word.globalMatch(text);
    while (match.hasNext()) {
        words << match.next().captured(1);
    }
    return words;
}

QString listed(const QSet<QString>& words)
{
    QStringList sorted = words.values();
    sorted.sort();
    return sorted.join(", ");
}

} // namespace

class TestQuirks : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyTagHasItsEntry_data()
    {
        QTest::addColumn<QString>("title");
        const auto& all = tags();
        QVERIFY(!all.isEmpty());
        for (auto tag = all.cbegin(); tag != all.cend(); ++tag) {
            QTest::newRow(qPrintable(tag.key())) << tag.key();
        }
    }
    void everyTagHasItsEntry()
    {
        QFETCH(QString, title);
        QVERIFY2(entries().contains(title), qPrintable(listed(tags().value(title)) +
                                                       ": add an entry with this title to docs/quirks.md"));
    }

    void everyEntryHasItsTags_data()
    {
        QTest::addColumn<QString>("title");
        const auto all = entries();
        QVERIFY(!all.isEmpty());
        for (auto entry = all.cbegin(); entry != all.cend(); ++entry) {
            QTest::newRow(qPrintable(entry.key())) << entry.key();
        }
    }
    void everyEntryHasItsTags()
    {
        QFETCH(QString, title);
        const QSet<QString> named = quoted(entries().value(title).value("Tagged in"), "([\\w./]+)");
        QCOMPARE(listed(named), listed(tags().value(title)));
    }

    void anEntrySaysAllThatItHasTo_data() { everyEntryHasItsTags_data(); }
    void anEntrySaysAllThatItHasTo()
    {
        QFETCH(QString, title);
        const Entry entry = entries().value(title);
        for (const char* part : parts) {
            QVERIFY2(!entry.value(part).isEmpty(), part);
        }
        QCOMPARE(entry.size(), int(std::size(parts)));
    }

    void theOperationsOfAnEntryExist_data() { everyEntryHasItsTags_data(); }
    void theOperationsOfAnEntryExist()
    {
        QFETCH(QString, title);
        const QString entry = entries().value(title).values().join(' ');
        for (const QString& operation : quoted(entry, "((?!std::)\\w+::\\w+)")) {
            const QRegularExpression owner("\\bclass \\w+ " + operation.section("::", 0, 0) + "\\b");
            const QRegularExpression member("\\b" + operation.section("::", 1) + "\\(");
            QVERIFY2(declarations().contains(owner) && declarations().contains(member),
                     qPrintable(operation));
        }
    }

    void titlesAreUnique() { QCOMPARE(textOf("docs/quirks.md").count("\n### "), entries().size()); }

    void everyQuirkIsATagOfItsOwn()
    {
        // A tag that a formatter joins to the sentence before it, or that is misspelt, would go unseen.
        static const QRegularExpression quirk("//[^\n]*\\bquirks?\\b",
                                              QRegularExpression::CaseInsensitiveOption);
        for (const QString& file : allSources()) {
            const QString text = textOf(file);
            auto match = quirk.globalMatch(text);
            int comments = 0;
            for (; match.hasNext(); match.next()) {
                ++comments;
            }
            QVERIFY2(comments == tagsIn(file).size(),
                     qPrintable(file + ": begin a line with \"// Quirk: \" for each quirk"));
        }
    }

    void noCommentKeepsAnOddityWithoutAReason()
    {
        static const QRegularExpression bare("//[^\n]*(\\bkept so\\b|\\bwanted( so)?\\.|\\bis wanted\\b)",
                                             QRegularExpression::CaseInsensitiveOption);
        for (const QString& file : allSources()) {
            const auto match = bare.match(textOf(file));
            QVERIFY2(!match.hasMatch(),
                     qPrintable(file + ": write \"// Quirk: \" in place of: " + match.captured()));
        }
    }

    void theKeysWithoutARouteAreThoseThatTheTableLacks()
    {
        QSet<QString> absent;
        for (const char* key : absentRouteKeys) {
            absent << key;
        }
        const Entry entry =
            entries().value("An operation without a route sends its request with an empty path");
        const QString keys = entry.value("What happens").section("The keys:", 1);
        QCOMPARE(listed(quoted(keys, "(\\w+)")), listed(absent));
    }
};

QTEST_GUILESS_MAIN(TestQuirks)
#include "tst_quirks.moc"
