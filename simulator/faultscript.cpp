// SPDX-License-Identifier: MIT
#include <simulator/faultscript.h>

#include <simulator/text/jsontools.h>
#include <tessel/allurlresource.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

constexpr std::size_t maxTextSize = 4096;
constexpr std::size_t maxBodySize = 1U << 20;
constexpr std::size_t maxFaults = 1000;

/// Says what is wrong with a script.
class Mistake : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

const FaultMember& memberCalled(const std::string& name)
{
    const auto* const member =
        std::find_if(faultMembers.begin(), faultMembers.end(),
                     [&name](const FaultMember& candidate) { return name == candidate.name; });
    if (member == faultMembers.end()) {
        std::string names;
        for (const auto& known : faultMembers) {
            names += (names.empty() ? "" : ", ") + std::string(known.name);
        }
        throw Mistake("a fault has no member " + name + "; use " + names);
    }
    return *member;
}

Mistake mistakeIn(const FaultMember& member)
{
    return Mistake(std::string(member.name) + " must be " + valuesOf(member).toStdString());
}

int numberOf(const FaultMember& member, const json& value)
{
    const auto isAllowed = [&member](std::int64_t number) {
        return (number >= member.least && number <= member.most) || (member.also && number == *member.also);
    };
    // What does not fit into 64 bits with a sign is too large as well.
    constexpr std::uint64_t most = std::numeric_limits<int>::max();
    if (!value.is_number_integer() || (value.is_number_unsigned() && value.get<std::uint64_t>() > most) ||
        !isAllowed(value.get<std::int64_t>())) {
        throw mistakeIn(member);
    }
    return value.get<int>();
}

std::string textOf(const FaultMember& member, const json& value)
{
    if (!value.is_string()) {
        throw mistakeIn(member);
    }
    auto text = value.get<std::string>();
    if (text.size() > maxTextSize || std::any_of(text.begin(), text.end(), [](char c) {
            return static_cast<unsigned char>(c) < ' ' || c == 127;
        })) {
        throw mistakeIn(member);
    }
    return text;
}

QString pathOf(const FaultMember& member, const json& value)
{
    QString path = QString::fromStdString(textOf(member, value));
    if (path != QLatin1String("*") && !path.startsWith(QLatin1Char('/')) &&
        AllUrlResource::getUrl(path).isEmpty()) {
        throw mistakeIn(member);
    }
    return path;
}

QByteArray methodOf(const FaultMember& member, const json& value)
{
    const std::string text = textOf(member, value);
    if (!std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; })) {
        throw mistakeIn(member);
    }
    return QByteArray::fromStdString(text);
}

QByteArray bodyOf(const FaultMember& member, const json& value)
{
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    if (text.size() > maxBodySize) {
        throw mistakeIn(member);
    }
    return QByteArray::fromStdString(text);
}

QByteArray retryAfterOf(const FaultMember& member, const json& value)
{
    if (value.is_number_unsigned()) {
        return QByteArray::fromStdString(value.dump());
    }
    return QByteArray::fromStdString(textOf(member, value));
}

Fault::Cut cutOf(const json& value)
{
    std::string names;
    for (const auto& kind : cutKinds) {
        if (value == kind.name) {
            return kind.cut;
        }
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    }
    throw Mistake("cut must be one of " + names);
}

void read(Fault& fault, const FaultMember& member, const json& value)
{
    const std::string_view name = member.name;
    if (name == "path") {
        fault.path = pathOf(member, value);
    } else if (name == "method") {
        fault.method = methodOf(member, value);
    } else if (name == "times") {
        fault.times = numberOf(member, value);
    } else if (name == "after") {
        fault.after = numberOf(member, value);
    } else if (name == "duration") {
        fault.duration = numberOf(member, value);
    } else if (name == "delay") {
        fault.delay = numberOf(member, value);
    } else if (name == "status") {
        fault.status = numberOf(member, value);
    } else if (name == "code") {
        fault.code = numberOf(member, value);
    } else if (name == "body") {
        fault.body = bodyOf(member, value);
    } else if (name == "retryAfter") {
        fault.retryAfter = retryAfterOf(member, value);
    } else if (name == "cut") {
        fault.cut = cutOf(value);
    } else if (name == "pause") {
        fault.pause = numberOf(member, value);
    }
}

Fault faultOf(const json& script)
{
    if (!script.is_object()) {
        throw Mistake("a fault must be a JSON object");
    }
    Fault fault;
    for (const auto& entry : script.items()) {
        read(fault, memberCalled(entry.key()), entry.value());
    }
    if (fault.duration > 0 && !script.contains("times")) {
        fault.times = -1;
    }
    return fault;
}

} // namespace

QString valuesOf(const FaultMember& member)
{
    if (member.values) {
        return QString::fromLatin1(member.values);
    }
    const QString also = member.also ? QString::number(*member.also) + QLatin1String(" or ") : QString();
    return also + QStringLiteral("%1 to %2").arg(member.least).arg(member.most);
}

QList<Fault> faultsFromJson(const QByteArray& text, QString* error)
{
    const json scripts = parseJson({text.constData(), static_cast<std::size_t>(text.size())});
    QList<Fault> faults;
    try {
        if (scripts.is_discarded()) {
            throw Mistake("a fault must be a JSON object");
        }
        if (scripts.is_array() && (scripts.empty() || scripts.size() > maxFaults)) {
            throw Mistake("a list must have 1 to " + std::to_string(maxFaults) + " faults");
        }
        for (const auto& script : scripts.is_array() ? scripts : json::array({scripts})) {
            faults.append(faultOf(script));
        }
    } catch (const Mistake& mistake) {
        *error = QString::fromUtf8(mistake.what());
        return {};
    }
    return faults;
}

QByteArray faultToJson(const Fault& fault)
{
    const json script = {{"path", fault.path.toStdString()},
                         {"method", fault.method.toStdString()},
                         {"times", fault.times},
                         {"after", fault.after},
                         {"duration", fault.duration},
                         {"delay", fault.delay},
                         {"status", fault.status},
                         {"code", fault.code},
                         {"body", fault.body.toStdString()},
                         {"retryAfter", fault.retryAfter.toStdString()},
                         {"cut", cutKinds[static_cast<std::size_t>(fault.cut)].name},
                         {"pause", fault.pause}};
    return QByteArray::fromStdString(script.dump(-1, ' ', false, json::error_handler_t::replace));
}

} // namespace Tessel::Simulator
