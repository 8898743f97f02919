// SPDX-License-Identifier: MIT
#ifndef TESTS_LOGCOLLECTOR_H
#define TESTS_LOGCOLLECTOR_H

#include <QStringList>

/// Takes the log while it lives, so that a test can say exactly what was written: QTest::ignoreMessage()
/// wants a line at least once and lets every other pass.
///
/// Lines may come from any thread. Neither QT_LOGGING_RULES nor filter rules hide one; those of Qt's own
/// categories go on to where they went before. Collectors nest: a line is the innermost one's. Make and
/// destroy them on one thread, the innermost first.
class LogCollector
{
public:
    LogCollector();
    ~LogCollector();
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// All lines so far, each behind its type: "debug: text". That of a category is spelt as in filter rules:
    /// "tessel.http.warning: text".
    QStringList lines() const;
    void forget();

private:
    static void collect(QtMsgType type, const QMessageLogContext& context, const QString& text);

    LogCollector* m_outer;
    QStringList m_lines; // guarded by the mutex of all collectors
};

#endif
