// SPDX-License-Identifier: MIT
#include "logcollector.h"

#include <QLoggingCategory>

#include <atomic>
#include <mutex>

namespace {

std::mutex mutex; // guards `innermost` and every collector's lines
LogCollector* innermost = nullptr;

// What was there before the outermost collector. Not behind the mutex: Qt calls a filter with a lock of its
// own.
std::atomic<QtMessageHandler> formerHandler{nullptr};
std::atomic<QLoggingCategory::CategoryFilter> formerFilter{nullptr};

// A connection that cannot be made is a mistake of ours. Qt 6 reports it in this category, Qt 5 in none.
bool isOfConnections(const char* category)
{
    return qstrcmp(category, "qt.core.qobject.connect") == 0;
}

bool isOfQt(const char* category)
{
    return !isOfConnections(category) && (qstrcmp(category, "qt") == 0 || qstrncmp(category, "qt.", 3) == 0);
}

void enableAllButQts(QLoggingCategory* category)
{
    if (isOfQt(category->categoryName())) {
        formerFilter.load()(category);
        return;
    }
    for (const QtMsgType type : {QtDebugMsg, QtInfoMsg, QtWarningMsg, QtCriticalMsg}) {
        category->setEnabled(type, true);
    }
}

const char* word(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        break;
    }
    return "fatal";
}

QString written(QtMsgType type, const char* category, const QString& text)
{
    const bool hasCategory = category && qstrcmp(category, "default") != 0 && !isOfConnections(category);
    return (hasCategory ? QLatin1String(category) + QLatin1Char('.') : QString()) +
           QLatin1String(word(type)) + QLatin1String(": ") + text;
}

} // namespace

LogCollector::LogCollector()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        m_outer = innermost;
        innermost = this;
    }
    if (m_outer) {
        return;
    }
    // In two steps: the filter calls the former one, which only its replacement tells.
    formerFilter = QLoggingCategory::installFilter(nullptr);
    QLoggingCategory::installFilter(enableAllButQts);
    formerHandler = qInstallMessageHandler(collect);
}

LogCollector::~LogCollector()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        innermost = m_outer;
    }
    if (m_outer) {
        return;
    }
    qInstallMessageHandler(formerHandler);
    QLoggingCategory::installFilter(formerFilter);
}

QStringList LogCollector::lines() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return m_lines;
}

void LogCollector::forget()
{
    const std::lock_guard<std::mutex> lock(mutex);
    m_lines.clear();
}

void LogCollector::collect(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type != QtFatalMsg && !isOfQt(context.category)) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (innermost) {
            innermost->m_lines << written(type, context.category, text);
            return;
        }
    }
    if (const QtMessageHandler former = formerHandler) {
        former(type, context, text);
    }
}
