// SPDX-License-Identifier: MIT
#include "tesselctl/operations/arguments.h"

#include "tesselctl/operations/sourcefile.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include <operations/suggestion.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <QVariant>

#include <algorithm>
#include <utility>

namespace TesselCtl {

using Tessel::Operations::didYouMean;
using Tessel::Operations::Parameter;

namespace {

QString expectationOf(ValueType type)
{
    switch (type) {
    case ValueType::Text:
        return QStringLiteral("text");
    case ValueType::Integer:
        return QStringLiteral("a 32-bit integer");
    case ValueType::LongInteger:
        return QStringLiteral("an integer");
    case ValueType::Boolean:
        return QStringLiteral("true or false");
    case ValueType::Bytes:
        return QStringLiteral("text, @file or -");
    case ValueType::Map:
        return QStringLiteral("a JSON object");
    case ValueType::List:
        return QStringLiteral("a JSON array");
    case ValueType::Parts:
        return QStringLiteral("a JSON object with the parts of the form");
    case ValueType::TextMap:
        return QStringLiteral("a JSON object of strings");
    case ValueType::TextList:
        return QStringLiteral("a JSON array of strings, or words separated by commas");
    case ValueType::MapList:
        return QStringLiteral("a JSON array of objects");
    case ValueType::Coefficients:
        return QStringLiteral("a JSON array of blocks with rect and data");
    case ValueType::AnyValue:
        return QStringLiteral("JSON");
    case ValueType::MapOfMaps:
        return QStringLiteral("a JSON object of objects");
    }
    return {};
}

bool isMap(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap;
}

bool isList(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantList;
}

bool isPlain(const QVariant& value)
{
    return value.isValid() && !isMap(value) && !isList(value);
}

template <class Container>
bool allOf(const Container& container, bool (*predicate)(const QVariant&))
{
    return std::all_of(container.begin(), container.end(), predicate);
}

bool isCoefficients(const QVariant& value)
{
    const QVariantMap block = value.toMap();
    const QVariant rect = block.value(QStringLiteral("rect"));
    return isList(rect) && rect.toList().size() == 4 && isPlain(block.value(QStringLiteral("data")));
}

bool hasShape(const QVariant& value, ValueType type)
{
    switch (type) {
    case ValueType::Map:
    case ValueType::Parts:
        return isMap(value);
    case ValueType::List:
        return isList(value);
    case ValueType::TextMap:
        return isMap(value) && allOf(value.toMap(), isPlain);
    case ValueType::TextList:
        return isList(value) && allOf(value.toList(), isPlain);
    case ValueType::MapList:
        return isList(value) && allOf(value.toList(), isMap);
    case ValueType::Coefficients:
        return isList(value) && allOf(value.toList(), isCoefficients);
    case ValueType::AnyValue:
        return true;
    case ValueType::MapOfMaps:
        return isMap(value) && allOf(value.toMap(), isMap);
    default:
        return false;
    }
}

QString abridged(const QString& text)
{
    const int limit = 60;
    return printable(text.size() > limit ? text.left(limit) + QStringLiteral("...") : text);
}

Error mismatch(ValueType type, const QString& text, const QString& detail = {})
{
    QString error = QStringLiteral("expected %1, got \"%2\"").arg(expectationOf(type), abridged(text));
    if (!detail.isEmpty()) {
        error += QStringLiteral(" (%1)").arg(abridged(detail));
    }
    return {error};
}

Expected<QVariant> plainValue(ValueType type, const QString& text)
{
    bool fits = false;
    QVariant value;
    if (type == ValueType::Integer) {
        value = text.toInt(&fits);
    } else if (type == ValueType::LongInteger) {
        value = text.toLongLong(&fits);
    } else {
        const bool on = text == QLatin1String("true") || text == QLatin1String("1");
        fits = on || text == QLatin1String("false") || text == QLatin1String("0");
        value = on;
    }
    if (!fits) {
        return mismatch(type, text);
    }
    return value;
}

Expected<QVariant> jsonValue(ValueType type, const QString& text, const QByteArray& content)
{
    Expected<QVariant> value = parseJson(content);
    if (!value) {
        return mismatch(type, text, value.error());
    }
    if (!hasShape(*value, type)) {
        return mismatch(type, text);
    }
    return value;
}

// A part whose text is @FILE is that file; a text that begins with an @ is written with two.
Expected<QVariant> formOf(QVariantMap parts)
{
    for (QVariant& part : parts) {
        const QString text = part.toString();
        if (part.userType() != QMetaType::QString || !text.startsWith(QLatin1Char('@'))) {
            continue;
        }
        const QString path = text.mid(1);
        if (path.startsWith(QLatin1Char('@'))) {
            part = path;
            continue;
        }
        if (const Expected<void> usable = checkSourceFile(path); !usable) {
            return Error{usable.error()};
        }
        part = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    }
    return parts;
}

QVariant words(const QString& text)
{
    QVariantList list;
    const QStringList parts = text.split(QLatin1Char(','));
    for (const QString& word : parts) {
        list.append(word);
    }
    return list;
}

/// The name that @p text gives itself: what precedes its first equals sign, if that is a word. Empty for
/// others, such as JSON.
QString nameIn(const QString& text)
{
    static const QRegularExpression named(QStringLiteral("^([A-Za-z_][A-Za-z0-9_]*)="));
    return named.match(text).captured(1);
}

/// The names of all arguments that @p overloads take.
QStringList namesOf(const std::vector<const Operation*>& overloads)
{
    QStringList names;
    for (const Operation* const operation : overloads) {
        for (const std::size_t index : operation->userParameters()) {
            names << operation->parameters[index].name;
        }
    }
    names.removeDuplicates();
    return names;
}

/// What is wrong with the names that @p texts give themselves. A misspelt name is never somebody's value.
QString misspeltIn(const QStringList& texts, const QStringList& names)
{
    for (const QString& text : texts) {
        const QString name = nameIn(text);
        if (name.isEmpty() || names.contains(name)) {
            continue;
        }
        const QString error = QStringLiteral("unknown argument \"%1\"").arg(name) + didYouMean(name, names);
        return names.isEmpty() ? error
                               : error + QStringLiteral("; a value that has an equals sign is written %1=%2")
                                             .arg(names.first(), abridged(text));
    }
    return {};
}

// Puts every text to its parameter: by name, or to the next one that has no value yet.
Expected<std::map<std::size_t, QString>> assign(const Operation& operation, const QStringList& texts)
{
    const std::vector<std::size_t> written = operation.userParameters();
    std::map<std::size_t, QString> assigned;
    QStringList positional;
    for (const QString& text : texts) {
        const auto named = std::find_if(written.begin(), written.end(), [&](std::size_t index) {
            return text.startsWith(operation.parameters[index].name + QLatin1Char('='));
        });
        if (named == written.end() && !nameIn(text).isEmpty()) {
            // That of another overload.
            return Error{QStringLiteral("unexpected argument \"%1\"").arg(abridged(text))};
        }
        if (named == written.end()) {
            positional << text;
        } else if (!assigned.emplace(*named, text.mid(operation.parameters[*named].name.size() + 1)).second) {
            return Error{QStringLiteral("argument %1 is given twice").arg(operation.parameters[*named].name)};
        }
    }
    for (const std::size_t index : written) {
        if (assigned.count(index) != 0) {
            continue;
        }
        if (positional.isEmpty()) {
            return Error{QStringLiteral("argument %1 is missing").arg(operation.parameters[index].name)};
        }
        assigned[index] = positional.takeFirst();
    }
    if (!positional.isEmpty()) {
        return Error{QStringLiteral("unexpected argument \"%1\"").arg(abridged(positional.first()))};
    }
    return assigned;
}

// A single word is a list of words only where nothing else takes it.
bool saysMoreThanText(ValueType type, const QString& text)
{
    const bool bareWord = !ArgumentFiles::isFile(text) && !text.startsWith(QLatin1Char('[')) &&
                          !text.contains(QLatin1Char(','));
    return type != ValueType::Text && !(type == ValueType::TextList && bareWord);
}

struct Fit
{
    Expected<BoundCall> call;
    bool rightCount = false;
    std::pair<int, std::size_t> merit; // arguments that say more than text, then outputs
};

Fit fit(const Operation& operation, const QStringList& texts, ArgumentFiles& files)
{
    const Expected<std::map<std::size_t, QString>> assigned = assign(operation, texts);
    if (!assigned) {
        return {Error{assigned.error()}, false, {}};
    }
    BoundCall call{&operation, {}};
    for (std::size_t i = 0; i < operation.parameters.size(); ++i) {
        call.values.append(QVariant());
    }
    int saying = 0;
    for (const auto& [index, text] : *assigned) {
        const Parameter& parameter = operation.parameters[index];
        const Expected<QVariant> value = valueFromText(parameter.type, text, files);
        if (!value) {
            return {Error{QStringLiteral("argument %1: %2").arg(parameter.name, value.error())}, true, {}};
        }
        call.values[static_cast<int>(index)] = *value;
        saying += saysMoreThanText(parameter.type, text) ? 1 : 0;
    }
    return {call, true, {saying, operation.outputNames().size()}};
}

} // namespace

bool ArgumentFiles::isFile(const QString& text)
{
    return text == QLatin1String("-") || text.startsWith(QLatin1Char('@'));
}

Expected<QByteArray> ArgumentFiles::read(const QString& text)
{
    const auto known = m_contents.find(text);
    if (known != m_contents.end()) {
        return known->second;
    }
    QFile file(text.mid(1));
    const bool open =
        text == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    const QByteArray content = open ? file.readAll() : QByteArray();
    if (!open || file.error() != QFileDevice::NoError) {
        return Error{QStringLiteral("%1 cannot be read: %2").arg(printable(text), file.errorString())};
    }
    m_contents.emplace(text, content);
    return content;
}

Expected<QVariant> valueFromText(ValueType type, const QString& text, ArgumentFiles& files)
{
    if (type == ValueType::Text) {
        return text;
    }
    if (type == ValueType::Integer || type == ValueType::LongInteger || type == ValueType::Boolean) {
        return plainValue(type, text);
    }

    const bool fromFile = ArgumentFiles::isFile(text);
    const Expected<QByteArray> content = fromFile ? files.read(text) : text.toUtf8();
    if (!content) {
        return Error{content.error()};
    }
    if (type == ValueType::Bytes) {
        return *content;
    }
    if (type == ValueType::TextList && !fromFile && !text.startsWith(QLatin1Char('['))) {
        return words(text);
    }
    Expected<QVariant> value = jsonValue(type, text, *content);
    return value && type == ValueType::Parts ? formOf(value->toMap()) : value;
}

Expected<BoundCall> bindArguments(const std::vector<const Operation*>& overloads, const QStringList& texts,
                                  ArgumentFiles& files)
{
    if (const QString misspelt = misspeltIn(texts, namesOf(overloads)); !misspelt.isEmpty()) {
        QString error = misspelt;
        for (const Operation* operation : overloads) {
            error += QStringLiteral("\n  ") + operation->usage();
        }
        return Error{error};
    }
    std::vector<Fit> fits;
    fits.reserve(overloads.size());
    for (const Operation* operation : overloads) {
        fits.push_back(fit(*operation, texts, files));
    }

    const Fit* best = nullptr;
    for (const Fit& one : fits) {
        if (one.call && (!best || one.merit > best->merit)) {
            best = &one;
        }
    }
    if (best) {
        return best->call;
    }

    // The mistake that a person most likely made: in the only overload that takes as many arguments, if there
    // is one.
    const auto takesAsMany = [](const Fit& one) { return one.rightCount; };
    const auto near = std::find_if(fits.begin(), fits.end(), takesAsMany);
    QString error;
    if (fits.size() == 1) {
        error = fits.front().call.error();
    } else if (std::count_if(fits.begin(), fits.end(), takesAsMany) == 1) {
        error = near->call.error();
    } else {
        error = QStringLiteral("no overload takes these arguments");
    }
    for (const Operation* operation : overloads) {
        error += QStringLiteral("\n  ") + operation->usage();
    }
    return Error{error};
}

} // namespace TesselCtl
