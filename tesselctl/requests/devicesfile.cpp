// SPDX-License-Identifier: MIT
#include "tesselctl/requests/devicesfile.h"

#include "tesselctl/terminal/printable.h"
#include <operations/suggestion.h>

#include <files/atomicfile.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#define TOML_HEADER_ONLY 1
#include <toml++/toml.h>

#include <algorithm>
#include <string_view>

namespace TesselCtl {

using Tessel::Files::AtomicFile;
using Tessel::Operations::didYouMean;

namespace {

constexpr qint64 sizeLimit = 1 << 20;

QString textOf(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

Error errorAt(const QString& path, const toml::source_region& source, const QString& text)
{
    return Error{QStringLiteral("%1, line %2: %3").arg(printable(path)).arg(source.begin.line).arg(text)};
}

/// Reads the members of one device.
class EntryReader
{
public:
    EntryReader(const QString& path, const QString& name, const toml::table& table)
        : m_path(path)
        , m_table(table)
    {
        m_entry.name = name;
    }

    Expected<DeviceEntry> read()
    {
        for (const auto& [key, value] : m_table) {
            const QString member = textOf(key.str());
            if (!take(member, value) && m_error.isEmpty()) {
                m_error = unknown(member);
            }
            if (!m_error.isEmpty()) {
                return errorAt(m_path, key.source(), m_error);
            }
        }
        if (m_entry.address.isEmpty()) {
            return errorAt(m_path, m_table.source(),
                           QStringLiteral("device %1 has no address").arg(printable(m_entry.name)));
        }
        return m_entry;
    }

private:
    bool take(const QString& member, const toml::node& value)
    {
        const std::pair<const char*, QString*> texts[] = {{"address", &m_entry.address},
                                                          {"site", &m_entry.site},
                                                          {"login", &m_entry.login},
                                                          {"user", &m_entry.user},
                                                          {"secret-file", &m_entry.secretFile},
                                                          {"ca-file", &m_entry.caFile},
                                                          {"pinned-key", &m_entry.pinnedKey},
                                                          {"comment", &m_entry.comment}};
        for (const auto& [name, text] : texts) {
            if (member == QLatin1String(name)) {
                takeText(member, value, *text);
                return true;
            }
        }
        if (member == QLatin1String("groups")) {
            takeGroups(value);
            return true;
        }
        if (member == QLatin1String("insecure")) {
            const std::optional<bool> flag = value.value_exact<bool>();
            m_entry.insecure = flag.value_or(false);
            m_error = flag ? QString() : QStringLiteral("\"insecure\" must be true or false");
            return true;
        }
        return false;
    }

    void takeText(const QString& member, const toml::node& value, QString& text)
    {
        const std::optional<std::string> content = value.value_exact<std::string>();
        if (!content) {
            m_error = QStringLiteral("\"%1\" must be a text in quotation marks").arg(member);
            return;
        }
        text = textOf(*content);
        // Beside the devices file, wherever the program runs.
        if (member.endsWith(QLatin1String("-file")) && !text.isEmpty()) {
            text = QDir::cleanPath(QFileInfo(m_path).absoluteDir().filePath(text));
        }
    }

    void takeGroups(const toml::node& value)
    {
        const toml::array* const groups = value.as_array();
        bool areTexts = groups != nullptr;
        for (std::size_t i = 0; areTexts && i < groups->size(); ++i) {
            const std::optional<std::string> group = (*groups)[i].value_exact<std::string>();
            areTexts = group.has_value();
            m_entry.groups << textOf(group.value_or(std::string()));
        }
        if (!areTexts) {
            m_error = QStringLiteral("\"groups\" must be a list of texts, such as [\"stage\", \"led\"]");
        }
    }

    static QString unknown(const QString& member)
    {
        if (member == QLatin1String("secret") || member == QLatin1String("password") ||
            member == QLatin1String("token")) {
            return QStringLiteral("\"%1\" does not belong here; write the password or token into a file of "
                                  "its own and name that with \"secret-file\"")
                .arg(member);
        }
        return QStringLiteral("unknown member \"%1\"").arg(printable(member)) +
               didYouMean(member,
                          {QStringLiteral("address"), QStringLiteral("site"), QStringLiteral("groups"),
                           QStringLiteral("login"), QStringLiteral("user"), QStringLiteral("secret-file"),
                           QStringLiteral("ca-file"), QStringLiteral("pinned-key"),
                           QStringLiteral("insecure"), QStringLiteral("comment")});
    }

    const QString m_path;
    const toml::table& m_table;
    DeviceEntry m_entry;
    QString m_error;
};

/// The devices of a file and the lines in which their tables begin.
struct Parsed
{
    std::vector<DeviceEntry> devices;
    std::vector<int> lines;
};

Expected<Parsed> readTables(const QString& path, const toml::table& file)
{
    for (const auto& [key, value] : file) {
        if (key.str() != "devices" || !value.is_table()) {
            return errorAt(path, key.source(),
                           QStringLiteral("unknown entry \"%1\"; a device is a table [devices.NAME]")
                               .arg(printable(textOf(key.str()))));
        }
    }
    std::vector<std::pair<int, DeviceEntry>> found;
    const toml::table none;
    const toml::table* const devices = file["devices"].as_table();
    for (const auto& [key, value] : devices != nullptr ? *devices : none) {
        const QString name = textOf(key.str());
        const toml::table* const table = value.as_table();
        if (!table) {
            return errorAt(path, key.source(),
                           QStringLiteral("\"%1\" is not a table; a device is a table [devices.NAME]")
                               .arg(printable(name)));
        }
        if (const Expected<void> usable = checkDeviceName(name); !usable) {
            return errorAt(path, key.source(), usable.error());
        }
        Expected<DeviceEntry> entry = EntryReader(path, name, *table).read();
        if (!entry) {
            return Error{entry.error()};
        }
        found.emplace_back(static_cast<int>(key.source().begin.line), *std::move(entry));
    }
    std::sort(found.begin(), found.end(),
              [](const auto& one, const auto& other) { return one.first < other.first; });
    Parsed parsed;
    for (auto& [line, entry] : found) {
        parsed.lines.push_back(line);
        parsed.devices.push_back(std::move(entry));
    }
    return parsed;
}

Expected<Parsed> parse(const QString& path, const QByteArray& text)
{
    try {
        return readTables(
            path, toml::parse(std::string_view(text.constData(), static_cast<std::size_t>(text.size()))));
    } catch (const toml::parse_error& error) {
        return errorAt(path, error.source(), printable(textOf(error.description())));
    }
}

/// @p text in quotation marks.
QByteArray quoted(const QString& text)
{
    QString escaped;
    for (const QChar one : text) {
        if (one == QLatin1Char('"') || one == QLatin1Char('\\')) {
            escaped += QLatin1Char('\\') + QString(one);
        } else if (one.unicode() < 0x20 || one.unicode() == 0x7f) {
            escaped += QStringLiteral("\\u%1").arg(one.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            escaped += one;
        }
    }
    return '"' + escaped.toUtf8() + '"';
}

QByteArray tableOf(const DeviceEntry& device)
{
    QByteArray text = "[devices." + quoted(device.name) + "]\n";
    const auto member = [&text](const char* name, const QString& value) {
        if (!value.isEmpty()) {
            text += QByteArray(name) + " = " + quoted(value) + '\n';
        }
    };
    member("address", device.address);
    member("site", device.site);
    QByteArray groups;
    for (const QString& group : device.groups) {
        groups += (groups.isEmpty() ? "" : ", ") + quoted(group);
    }
    if (!groups.isEmpty()) {
        text += "groups = [" + groups + "]\n";
    }
    member("login", device.login);
    member("user", device.user);
    member("secret-file", device.secretFile);
    member("ca-file", device.caFile);
    member("pinned-key", device.pinnedKey);
    if (device.insecure) {
        text += "insecure = true\n";
    }
    member("comment", device.comment);
    return text;
}

QStringList namesOf(const std::vector<DeviceEntry>& devices)
{
    QStringList names;
    for (const DeviceEntry& device : devices) {
        names << device.name;
    }
    return names;
}

/// The line in which what belongs to a table begins: comments right above its head are the table's.
int firstLineOf(int headLine, const QList<QByteArray>& lines)
{
    int first = headLine - 1;
    while (first > 0 && lines[first - 1].trimmed().startsWith('#')) {
        --first;
    }
    return first;
}

} // namespace

QString DevicesFile::pathFor(const QString& named)
{
    if (!named.isEmpty()) {
        return named;
    }
    const QString variable = qEnvironmentVariable("TESSELCTL_DEVICES");
    return variable.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                                    QStringLiteral("/tesselctl/devices.toml")
                              : variable;
}

bool DevicesFile::isNamed(const QString& named)
{
    return !named.isEmpty() || !qEnvironmentVariableIsEmpty("TESSELCTL_DEVICES");
}

Expected<DevicesFile> DevicesFile::read(const QString& path, bool mustExist)
{
    DevicesFile read;
    read.m_path = path;
    QFile file(path);
    if (!mustExist && !QFileInfo::exists(path)) {
        return read;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{QStringLiteral("devices file %1: %2").arg(printable(path), file.errorString())};
    }
    read.m_text = file.read(sizeLimit + 1);
    if (file.error() != QFileDevice::NoError) {
        return Error{QStringLiteral("devices file %1: %2").arg(printable(path), file.errorString())};
    }
    if (read.m_text.size() > sizeLimit) {
        return Error{QStringLiteral("devices file %1: larger than 1 MiB").arg(printable(path))};
    }
    Expected<Parsed> parsed = parse(path, read.m_text);
    if (!parsed) {
        return Error{parsed.error()};
    }
    read.m_devices = std::move((*parsed).devices);
    return read;
}

Expected<void> DevicesFile::add(const DeviceEntry& device)
{
    if (Expected<void> usable = checkDeviceName(device.name); !usable) {
        return usable;
    }
    if (namesOf(m_devices).contains(device.name)) {
        return Error{QStringLiteral("%1 is already in %2; remove it first")
                         .arg(printable(device.name), printable(m_path))};
    }
    QByteArray text = m_text;
    if (!text.isEmpty()) {
        text += text.endsWith('\n') ? "\n" : "\n\n";
    }
    return replaceBy(text + tableOf(device), namesOf(m_devices) + QStringList{device.name});
}

Expected<void> DevicesFile::remove(const QStringList& names)
{
    const Expected<Parsed> parsed = parse(m_path, m_text);
    if (!parsed) {
        return Error{parsed.error()};
    }
    const QStringList known = namesOf(parsed->devices);
    for (const QString& name : names) {
        if (!known.contains(name)) {
            return Error{QStringLiteral("no device %1 in %2%3")
                             .arg(printable(name), printable(m_path), didYouMean(name, known))};
        }
    }
    const QList<QByteArray> lines = m_text.split('\n');
    const int count = static_cast<int>(parsed->devices.size());
    QList<QByteArray> kept =
        lines.mid(0, count == 0 ? lines.size() : firstLineOf(parsed->lines.front(), lines));
    QStringList remaining;
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const int begin = firstLineOf(parsed->lines[at], lines);
        const int end = i + 1 < count ? firstLineOf(parsed->lines[at + 1], lines) : lines.size();
        if (!names.contains(parsed->devices[at].name)) {
            kept += lines.mid(begin, end - begin);
            remaining << parsed->devices[at].name;
        }
    }
    QByteArray text = kept.join('\n');
    if (!text.isEmpty() && !text.endsWith('\n')) {
        text += '\n';
    }
    return replaceBy(text, remaining);
}

/// Only a text that reads as what was meant takes the place of the file.
Expected<void> DevicesFile::replaceBy(const QByteArray& text, const QStringList& names)
{
    Expected<Parsed> parsed = parse(m_path, text);
    if (!parsed || namesOf(parsed->devices) != names) {
        return Error{
            QStringLiteral("%1 cannot be changed in its place; edit it by hand").arg(printable(m_path))};
    }
    if (!QDir().mkpath(QFileInfo(m_path).absolutePath())) {
        return Error{QStringLiteral("%1: cannot create its folder").arg(printable(m_path))};
    }
    AtomicFile file(m_path);
    if (!file.open() || !file.write(text.constData(), text.size()) || !file.commit()) {
        return Error{QStringLiteral("%1: %2; the file is unchanged").arg(printable(m_path), file.error())};
    }
    m_text = text;
    m_devices = std::move((*parsed).devices);
    return {};
}

KnownDevices knownDevices(const DeviceSettings& settings)
{
    return [file = settings.file]() -> Expected<std::vector<DeviceEntry>> {
        const Expected<DevicesFile> read =
            DevicesFile::read(DevicesFile::pathFor(file), DevicesFile::isNamed(file));
        if (!read) {
            return Error{read.error()};
        }
        return read->devices();
    };
}

} // namespace TesselCtl
