// SPDX-License-Identifier: MIT
//
// What the command line takes from its user: coefficient files, and what is said of devices. The first byte
// chooses which.
#include "tesselctl/commands/coefficientfiles.h"

#include "fuzzing.h"
#include "tesselctl/requests/devices.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "json/jsonreader.h"

#include <nlohmann/json.hpp>

#include <set>

using namespace TesselCtl;

namespace {

bool isList(const QByteArray& text)
{
    return text.startsWith('[') && text.endsWith(']') && nlohmann::json::accept(text.begin(), text.end());
}

bool hasAnError(const QString& error)
{
    return !error.isEmpty() && printable(error) == error;
}

void expectFileUnderstood(const QByteArray& text)
{
    const auto tables = splitCoefficients(text, QStringLiteral("f.json"));
    if (!tables) {
        const QString error = tables.error();
        FUZZ_EXPECT(hasAnError(error));
        const QStringList parts = error.split(QLatin1Char(':'));
        FUZZ_EXPECT(parts.size() >= 3 && parts[0] == QLatin1String("f.json"));
        const int line = parts[1].toInt();
        FUZZ_EXPECT(line >= 1 && line <= 1 + text.count('\n'));
        return;
    }
    FUZZ_EXPECT(nlohmann::json::accept(text.begin(), text.end()));
    FUZZ_EXPECT(!tables->empty());
    std::set<QString> names;
    QByteArray joined = "{";
    for (const CoefficientTable& table : *tables) {
        FUZZ_EXPECT(isList(table.text));
        FUZZ_EXPECT(names.insert(table.cabinet).second);
        FUZZ_EXPECT(!table.cabinet.isEmpty() || tables->size() == 1);
        joined += (joined.size() > 1 ? "," : "") + toJson(table.cabinet, false) + ':' + table.text;
    }
    joined += '}';
    FUZZ_EXPECT(std::is_sorted(tables->begin(), tables->end(), [](const auto& left, const auto& right) {
        return cabinetBefore(left.cabinet, right.cabinet);
    }));
    // Split once, split again as it was.
    const bool isOneList = tables->front().cabinet.isEmpty();
    const auto again = splitCoefficients(isOneList ? tables->front().text : joined, QStringLiteral("g.json"));
    FUZZ_EXPECT(again && again->size() == tables->size());
    for (std::size_t i = 0; i < tables->size(); ++i) {
        FUZZ_EXPECT((*again)[i].cabinet == (*tables)[i].cabinet && (*again)[i].text == (*tables)[i].text);
    }
    const auto one = tablesOf(*tables, {tables->back().cabinet});
    FUZZ_EXPECT(one && one->size() == 1 && one->front().text == tables->back().text);
    FUZZ_EXPECT(!tablesOf(*tables, {tables->back().cabinet + QLatin1Char('x') + tables->front().cabinet,
                                    QStringLiteral("\1")}));
}

void expectArgumentUnderstood(const QByteArray& text)
{
    const auto value = parseJson(text);
    if (!value) {
        FUZZ_EXPECT(!value.error().isEmpty());
        return;
    }
    for (const bool indented : {false, true}) {
        const QByteArray written = toJson(*value, indented);
        FUZZ_EXPECT(printableLines(QString::fromUtf8(written)) == QString::fromUtf8(written));
        const auto again = parseJson(written);
        FUZZ_EXPECT(again && toJson(*again, indented) == written);
    }
}

void expectDevicesUnderstood(Fuzzing::Input& input)
{
    DeviceSettings settings;
    const unsigned flags = input.byte();
    const QStringList logins = loginNames() + QStringList{QString(), QStringLiteral("none")};
    settings.login = logins[static_cast<int>(flags % static_cast<unsigned>(logins.size()))];
    settings.insecure = (flags & 32U) != 0;
    if ((flags & 64U) != 0) {
        settings.user = QString::fromUtf8(input.until('\n'));
    }
    if ((flags & 128U) != 0) {
        settings.pinnedKey = QString::fromUtf8(input.until('\n'));
    }
    // There is always a secret, so that no terminal is asked for one.
    qputenv("TESSEL_FUZZ_SECRET", "secret");
    if (!settings.login.isEmpty()) {
        settings.secretVariable = QStringLiteral("TESSEL_FUZZ_SECRET");
    }
    while (!input.isEmpty()) {
        settings.devices << QString::fromUtf8(input.until('\n'));
    }
    const auto devices = readDevices(settings);
    if (!devices) {
        FUZZ_EXPECT(hasAnError(devices.error()));
        return;
    }
    FUZZ_EXPECT(devices->size() == static_cast<std::size_t>(settings.devices.size()));
    std::set<QString> names;
    for (std::size_t i = 0; i < devices->size(); ++i) {
        const Device& device = (*devices)[i];
        const QString& text = settings.devices[static_cast<int>(i)];
        FUZZ_EXPECT(!device.name.isEmpty() && !device.endpoint.address.isEmpty());
        FUZZ_EXPECT(names.insert(device.name).second);
        FUZZ_EXPECT(text == device.name || text == device.name + QLatin1Char('=') + device.endpoint.address);
        FUZZ_EXPECT(!device.endpoint.address.contains(QLatin1Char('@')));
        FUZZ_EXPECT(device.endpoint.verifyTls != settings.insecure);
        FUZZ_EXPECT(device.endpoint.secret.isEmpty() == settings.login.isEmpty());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Fuzzing::Input input(bytes, size);
    switch (input.byte() % 3) {
    case 0:
        expectFileUnderstood(input.rest());
        break;
    case 1:
        expectArgumentUnderstood(input.rest());
        break;
    default:
        expectDevicesUnderstood(input);
    }
    return 0;
}
