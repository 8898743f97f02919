// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficientfiles.h"

#include "tesselctl/terminal/printable.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <istream>
#include <set>
#include <streambuf>

namespace TesselCtl {

namespace {

using nlohmann::json;

// Limits recursion; tables are not nested that deeply.
constexpr std::size_t depthLimit = 500;
// What the reader's texts can hold, with a margin.
constexpr qint64 sizeLimit = 1LL << 30;

/// A text that knows how far it was read, since the SAX parser reports no positions. simdjson does, but its
/// on-demand parser does not validate what it skips, and a table has to be valid before the first byte is
/// sent.
class ReadText : public std::streambuf
{
public:
    explicit ReadText(const QByteArray& text)
    {
        auto* const begin = const_cast<char*>(text.constData()); // which nothing writes to
        setg(begin, begin, begin + text.size());
    }
    int reached() const { return static_cast<int>(gptr() - eback()); }
};

/// Takes the tables out of a text as the parser goes over it.
class Splitter : public nlohmann::json_sax<json>
{
public:
    explicit Splitter(const QByteArray& text)
        : m_text(text)
        , m_read(text)
    {}

    bool split()
    {
        std::istream stream(&m_read);
        return json::sax_parse(stream, this);
    }

    const std::vector<CoefficientTable>& tables() const { return m_tables; }
    const QString& error() const { return m_error; }
    /// Where the error is, counted from 1.
    int line() const
    {
        const int seen = std::max(0, std::min(int(m_text.size()), reached()) - 1);
        return 1 + static_cast<int>(std::count(m_text.constData(), m_text.constData() + seen, '\n'));
    }

    bool null() override { return plainValue(); }
    bool boolean(bool /*value*/) override { return plainValue(); }
    bool number_integer(number_integer_t /*value*/) override { return plainValue(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return plainValue(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return plainValue(); }
    bool string(string_t& /*value*/) override { return plainValue(); }
    bool binary(binary_t& /*value*/) override { return plainValue(); }

    bool start_object(std::size_t /*size*/) override
    {
        if (m_depth == 0) {
            m_object = true;
        } else if (m_depth == tableDepth()) {
            return plainValue();
        }
        return enter();
    }
    bool key(string_t& name) override
    {
        if (m_depth != 1 || !m_object) {
            return true;
        }
        m_cabinet = QString::fromUtf8(name.data(), static_cast<int>(name.size()));
        if (m_cabinet.isEmpty()) {
            return fail(QStringLiteral("the name of a cabinet is empty"));
        }
        return m_cabinets.insert(m_cabinet).second ||
               fail(QStringLiteral("cabinet %1 appears twice").arg(printable(m_cabinet)));
    }
    bool end_object() override
    {
        --m_depth;
        return true;
    }
    bool start_array(std::size_t /*size*/) override
    {
        if (m_depth == tableDepth()) {
            m_start = reached() - 1;
        }
        return enter();
    }
    bool end_array() override
    {
        --m_depth;
        if (m_depth == tableDepth()) {
            m_tables.push_back({m_cabinet, m_text.mid(m_start, reached() - m_start)});
        }
        return true;
    }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& error) override
    {
        // Such as "[json.exception.parse_error.101] parse error at line 3, column 5: what"; the line is
        // known by other means.
        const QString text = QString::fromUtf8(error.what());
        const int place = text.indexOf(QStringLiteral(", column "));
        const int colon = text.indexOf(QStringLiteral(": "), std::max(0, place));
        return fail(printable(place < 0 || colon < 0 ? text : text.mid(colon + 2)));
    }

private:
    int tableDepth() const { return m_object ? 1 : 0; }
    int reached() const { return m_read.reached(); }

    bool plainValue()
    {
        if (m_depth > tableDepth()) {
            return true;
        }
        return fail(m_object
                        ? QStringLiteral("expected a JSON array for cabinet %1").arg(printable(m_cabinet))
                        : QStringLiteral("expected a JSON array, or an object of cabinets and arrays"));
    }
    bool enter()
    {
        return ++m_depth <= static_cast<int>(depthLimit) ||
               fail(QStringLiteral("nested more than %1 levels deep").arg(depthLimit));
    }
    bool fail(const QString& error)
    {
        m_error = error;
        return false;
    }

    const QByteArray& m_text;
    ReadText m_read;
    int m_depth = 0;
    bool m_object = false; // cabinets and their tables, not one table
    QString m_cabinet;
    int m_start = 0;
    std::set<QString> m_cabinets;
    std::vector<CoefficientTable> m_tables;
    QString m_error;
};

void sortByCabinet(std::vector<CoefficientTable>& tables)
{
    std::sort(tables.begin(), tables.end(), [](const CoefficientTable& left, const CoefficientTable& right) {
        return cabinetBefore(left.cabinet, right.cabinet);
    });
}

Expected<QByteArray> contentOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{QStringLiteral("%1: %2").arg(printable(path), file.errorString())};
    }
    if (file.size() > sizeLimit) {
        return Error{QStringLiteral("%1: file is larger than 1 GiB").arg(printable(path))};
    }
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        return Error{QStringLiteral("%1: %2").arg(printable(path), file.errorString())};
    }
    return content;
}

Expected<std::vector<CoefficientTable>> readDirectory(const QString& path)
{
    const QString ending = QStringLiteral(".json");
    std::vector<CoefficientTable> tables;
    const QFileInfoList files =
        QDir(path).entryInfoList({QStringLiteral("*") + ending}, QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : files) {
        const Expected<QByteArray> content = contentOf(file.filePath());
        if (!content) {
            return Error{content.error()};
        }
        Expected<std::vector<CoefficientTable>> found = splitCoefficients(*content, file.filePath());
        if (!found) {
            return found;
        }
        const QString cabinet = file.fileName().chopped(ending.size());
        if (cabinet.isEmpty() || found->size() != 1 || !found->front().cabinet.isEmpty()) {
            return Error{
                QStringLiteral("%1:1: expected one JSON array, as in every file CABINET.json of a directory")
                    .arg(printable(file.filePath()))};
        }
        tables.push_back({cabinet, found->front().text});
    }
    if (tables.empty()) {
        return Error{QStringLiteral("%1: the directory has no file CABINET.json").arg(printable(path))};
    }
    return tables;
}

} // namespace

bool cabinetBefore(const QString& left, const QString& right)
{
    bool leftIsNumber = false;
    bool rightIsNumber = false;
    const qulonglong leftNumber = left.toULongLong(&leftIsNumber);
    const qulonglong rightNumber = right.toULongLong(&rightIsNumber);
    if (leftIsNumber && rightIsNumber && leftNumber != rightNumber) {
        return leftNumber < rightNumber;
    }
    return leftIsNumber != rightIsNumber ? leftIsNumber : left < right;
}

Expected<std::vector<CoefficientTable>> splitCoefficients(const QByteArray& text, const QString& file)
{
    Splitter splitter(text);
    if (!splitter.split()) {
        return Error{
            QStringLiteral("%1:%2: %3").arg(printable(file)).arg(splitter.line()).arg(splitter.error())};
    }
    std::vector<CoefficientTable> tables = splitter.tables();
    if (tables.empty()) {
        return Error{QStringLiteral("%1:1: the object names no cabinet").arg(printable(file))};
    }
    sortByCabinet(tables);
    return tables;
}

Expected<std::vector<CoefficientTable>> readCoefficients(const QString& path)
{
    if (!QFileInfo(path).isDir()) {
        const Expected<QByteArray> content = contentOf(path);
        if (!content) {
            return Error{content.error()};
        }
        return splitCoefficients(*content, path);
    }
    Expected<std::vector<CoefficientTable>> tables = readDirectory(path);
    if (tables) {
        sortByCabinet(*tables);
    }
    return tables;
}

Expected<std::vector<CoefficientTable>> tablesOf(std::vector<CoefficientTable> tables,
                                                 const QStringList& cabinets)
{
    if (cabinets.isEmpty()) {
        return tables;
    }
    for (const QString& cabinet : cabinets) {
        const bool known = std::any_of(tables.begin(), tables.end(), [&](const CoefficientTable& table) {
            return table.cabinet == cabinet;
        });
        if (!known) {
            return Error{QStringLiteral("cabinet %1 has no table").arg(printable(cabinet))};
        }
    }
    const auto others = [&](const CoefficientTable& table) { return !cabinets.contains(table.cabinet); };
    tables.erase(std::remove_if(tables.begin(), tables.end(), others), tables.end());
    return tables;
}

} // namespace TesselCtl
