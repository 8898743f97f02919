// SPDX-License-Identifier: MIT
#include <json/tokencounter.h>

#include <QtTest>

class TestTokenCounter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tokensAreCountedHoweverTheTextComes_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("tokens");
        const auto row = [](const char* name, const QByteArray& text, int tokens) {
            QTest::newRow(name) << text << tokens;
        };
        row("nothing", "", 0);
        row("white space", " \t\r\n", 0);
        row("number", "-12.5e3", 1);
        row("two words", "true null", 2);
        row("string", "\"a b\"", 1);
        row("signs in a string", "\"{}[],: 1\"", 1);
        row("quote in a string", "\"a\\\"b,c\"", 1);
        row("backslash before the end of a string", "\"a\\\\\",1", 3);
        row("escaped backslash and quote", "\"a\\\\\\\"b,c\",1", 3);
        row("list", "[1, 2,3 ]", 7);
        row("object", "{\"a\": 1, \"b\":[]}", 10);
        row("words side by side", "1\"a\"2", 3);
        row("closing brackets", "]]]]", 4);
        row("string without an end", "\"a,b,c", 1);
        row("any bytes", QByteArray("\x00\xff{\x80", 4), 3);
    }
    void tokensAreCountedHoweverTheTextComes()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, tokens);
        for (const int size : {1, 2, 3, 7, 1000}) {
            JsonText::TokenCounter counter;
            for (int at = 0; at < text.size(); at += size) {
                const QByteArray piece = text.mid(at, size);
                counter.add(piece.constData(), std::size_t(piece.size()));
            }
            QCOMPARE(int(counter.count()), tokens);
        }
    }
};

QTEST_GUILESS_MAIN(TestTokenCounter)
#include "tst_tokencounter.moc"
