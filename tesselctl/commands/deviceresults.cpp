// SPDX-License-Identifier: MIT
#include "tesselctl/commands/deviceresults.h"

#include "tesselctl/terminal/console.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

namespace TesselCtl {

namespace {

const QString deviceColumn = QStringLiteral("device");

/// The word for how something failed; the table of exit codes has the same.
QString stateOf(const DeviceRun::Result& result)
{
    if (result.isSkipped) {
        return QStringLiteral("skipped");
    }
    switch (result.outcome.code) {
    case Unreachable:
        return QStringLiteral("unreachable");
    case TimedOut:
        return QStringLiteral("timed-out");
    case Refused:
        return QStringLiteral("refused");
    case Interrupted:
    case Terminated:
        return QStringLiteral("interrupted");
    case Done:
    case Failed:
    case Usage:
        break;
    }
    return QStringLiteral("failed");
}

QVariantMap errorObject(const DeviceRun::Result& result)
{
    const Outcome& outcome = result.outcome;
    return {{QStringLiteral("state"), stateOf(result)},
            {QStringLiteral("status"), outcome.status != 0 ? QVariant(outcome.status) : QVariant()},
            {QStringLiteral("code"), outcome.deviceCode ? QVariant(*outcome.deviceCode) : QVariant()},
            {QStringLiteral("message"), outcome.error}};
}

} // namespace

DeviceResults::DeviceResults(const Settings& settings, const DeviceRun::Kind& kind, bool several,
                             Console& console)
    : m_settings(settings)
    , m_kind(kind)
    , m_several(several)
    , m_console(console)
{}

void DeviceResults::take(const QString& device, const DeviceRun::Result& unarranged)
{
    const DeviceRun::Result result = arrangedResult(unarranged);
    const Outcome& outcome = result.outcome;
    ++m_taken;
    if (m_settings.json) {
        const bool isShown = result.value && (outcome.code == Done || m_kind.isBareAlone);
        m_byName.insert(device, isShown ? *result.value : m_kind.failure);
        m_isAnswered = m_isAnswered || isShown;
    } else if (m_settings.format() == Format::Table) {
        takeText(device, result);
    } else {
        takeObject(device, result);
    }
    if (outcome.code == Done) {
        return;
    }
    m_console.error(QStringLiteral("%1: %2").arg(printable(device), outcome.error));
    m_failed << device;
    m_interrupted += outcome.code == Interrupted || outcome.code == Terminated ? 1 : 0;
    if (m_code == Done && !result.isSkipped) {
        m_code = outcome.code;
    }
}

DeviceRun::Result DeviceResults::arrangedResult(DeviceRun::Result result) const
{
    // The rows of all devices are arranged together, at the end.
    const bool isKept = m_kind.isTable && m_settings.format() == Format::Table;
    if (!result.value || isKept || !m_settings.table.isMade() || !isListOfMaps(*result.value)) {
        return result;
    }
    TableChoice choice = m_settings.table;
    choice.columns.removeAll(deviceColumn);
    const Expected<QVariantList> table = arranged(result.value->toList(), choice);
    if (!table) {
        return {{Usage, table.error()}, {}, {}};
    }
    result.value = *table;
    result.text = (m_several || !m_kind.isBareAlone ? QStringLiteral(":\n") : QString()) +
                  tableText(*table, columnsOf(*table, choice.columns), tableWidth());
    return result;
}

void DeviceResults::takeText(const QString& device, const DeviceRun::Result& result)
{
    if (!result.value || (result.outcome.code != Done && !m_kind.isBareAlone)) {
        return;
    }
    if (m_kind.isTable) {
        const QVariantList rows = result.value->toList();
        for (const QVariant& row : rows) {
            QVariantMap map = row.toMap();
            if (m_several) {
                map.insert(deviceColumn, device);
            }
            m_rows << map;
        }
    } else {
        const bool isNamed = m_several || !m_kind.isBareAlone;
        m_console.out((isNamed ? printable(device) : QString()) + result.text);
    }
}

void DeviceResults::takeObject(const QString& device, const DeviceRun::Result& result)
{
    QVariantMap object{{deviceColumn, device}};
    if (result.outcome.code == Done) {
        object.insert(QStringLiteral("result"), result.value.value_or(QVariant()));
    } else {
        object.insert(QStringLiteral("error"), errorObject(result));
    }
    if (m_settings.format() == Format::Json) {
        m_objects << object;
    } else {
        m_console.out(formatted(QVariantList{object}, m_settings.format()));
    }
}

void DeviceResults::printTable()
{
    const Expected<QVariantList> rows = arranged(m_rows, m_settings.table);
    if (!rows) {
        m_console.error(rows.error());
        m_code = m_code == Done ? Usage : m_code;
        return;
    }
    QStringList columns = m_settings.table.columns;
    if (columns.isEmpty()) {
        columns = (m_several ? QStringList(deviceColumn) : QStringList()) + m_kind.columns;
    }
    m_console.out(tableText(*rows, columns, tableWidth()));
}

ExitCode DeviceResults::finish()
{
    if (m_settings.json) {
        const bool isBare = m_kind.isBareAlone && !m_several;
        if (!isBare || m_isAnswered) {
            m_console.out(formatted(isBare ? m_byName.first() : QVariant(m_byName), Format::Json));
        }
    } else if (m_settings.format() == Format::Json) {
        m_console.out(formatted(m_objects, Format::Json));
    } else if (m_settings.format() == Format::Table && m_kind.isTable && !m_rows.isEmpty()) {
        printTable();
    }
    if (m_several && !m_failed.isEmpty()) {
        const int done = m_taken - static_cast<int>(m_failed.size());
        m_console.info(m_interrupted > 0
                           ? QStringLiteral("interrupted: %1 of %2 devices done").arg(done).arg(m_taken)
                           : QStringLiteral("%1 of %2 devices failed: %3")
                                 .arg(m_failed.size())
                                 .arg(m_taken)
                                 .arg(printable(m_failed.join(QStringLiteral(", ")))));
    }
    return m_code == Done && !m_failed.isEmpty() ? Failed : m_code;
}

} // namespace TesselCtl
