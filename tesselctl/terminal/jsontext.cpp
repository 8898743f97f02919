// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/jsontext.h"

#include "tesselctl/terminal/printable.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <string_view>

namespace TesselCtl {

namespace {

using nlohmann::json;

// Limits recursion; arguments are not nested that deeply.
constexpr int depthLimit = 500;

// Qt takes a byte-order mark for the beginning of a text. In JSON it is a character of the string.
QString textOf(std::string_view text)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    QString marks;
    while (text.substr(0, mark.size()) == mark) {
        marks += QChar(QChar::ByteOrderMark);
        text.remove_prefix(mark.size());
    }
    return marks + QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

std::string bytesOf(const QString& text)
{
    return text.toUtf8().toStdString();
}

QVariant toVariant(const json& value)
{
    switch (value.type()) {
    case json::value_t::object: {
        QVariantMap map;
        for (const auto& member : value.items()) {
            map.insert(textOf(member.key()), toVariant(member.value()));
        }
        return map;
    }
    case json::value_t::array: {
        QVariantList list;
        for (const json& element : value) {
            list.append(toVariant(element));
        }
        return list;
    }
    case json::value_t::string:
        return textOf(value.get_ref<const std::string&>());
    case json::value_t::boolean:
        return value.get<bool>();
    case json::value_t::number_integer:
        return qlonglong(value.get<std::int64_t>());
    case json::value_t::number_unsigned: {
        const auto number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<qlonglong>::max())) {
            return qulonglong(number);
        }
        return qlonglong(number);
    }
    case json::value_t::number_float:
        return value.get<double>();
    default:
        return QVariant::fromValue(nullptr);
    }
}

json fromVariant(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantMap: {
        json object = json::object();
        const QVariantMap map = value.toMap();
        for (auto member = map.begin(); member != map.end(); ++member) {
            object[bytesOf(member.key())] = fromVariant(member.value());
        }
        return object;
    }
    case QMetaType::QVariantList: {
        json array = json::array();
        const QVariantList list = value.toList();
        for (const QVariant& element : list) {
            array.push_back(fromVariant(element));
        }
        return array;
    }
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return value.toLongLong();
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return value.toULongLong();
    case QMetaType::Float:
    case QMetaType::Double:
        return value.toDouble();
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return nullptr;
    default:
        return bytesOf(value.toString());
    }
}

} // namespace

Expected<QVariant> parseJson(const QByteArray& text)
{
    bool tooDeep = false;
    const auto guardDepth = [&tooDeep](int depth, json::parse_event_t /*event*/, json& /*parsed*/) {
        tooDeep = tooDeep || depth > depthLimit;
        return !tooDeep;
    };
    try {
        const json parsed = json::parse(text.begin(), text.end(), guardDepth);
        if (tooDeep) {
            return Error{QStringLiteral("nested more than %1 levels deep").arg(depthLimit)};
        }
        return toVariant(parsed);
    } catch (const json::exception& error) {
        const QString what = QString::fromUtf8(error.what());
        return Error{what.mid(what.indexOf(QStringLiteral("] ")) + 2)};
    }
}

QByteArray toJson(const QVariant& value, bool indented)
{
    const std::string text =
        fromVariant(value).dump(indented ? 2 : -1, ' ', false, json::error_handler_t::replace);
    // The writer escapes what RFC 8259 asks for, which leaves control characters beyond U+007E to a terminal.
    // Line feeds are its own.
    return printableLines(textOf(text)).toUtf8();
}

} // namespace TesselCtl
