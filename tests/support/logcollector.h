// SPDX-License-Identifier: MIT
#ifndef TESTS_LOGCOLLECTOR_H
#define TESTS_LOGCOLLECTOR_H

#include <QStringList>

/// Captures the log while it exists, so that a test can compare everything that was written;
/// QTest::ignoreMessage() only requires a line and lets all others pass.
///
/// Lines may come from any thread. Neither QT_LOGGING_RULES nor filter rules hide them. Lines in Qt's own
/// categories are passed on instead. Collectors can be nested; a line goes to the innermost. Create and
/// destroy them on one thread, in reverse order.
class LogCollector
{
public:
    LogCollector();
    ~LogCollector();
    LogCollector(const LogCollector&) = delete;
    LogCollector& operator=(const LogCollector&) = delete;

    /// All lines so far, each with its type as prefix: "debug: text", or with its category as in filter
    /// rules: "tessel.http.warning: text".
    QStringList lines() const;
    void forget();

private:
    static void collect(QtMsgType type, const QMessageLogContext& context, const QString& text);

    LogCollector* m_outer;
    QStringList m_lines; // guarded by a mutex that all collectors share
};

#endif
