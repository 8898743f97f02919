// SPDX-License-Identifier: MIT
#include "tesselctl/commands/coefficients.h"

#include "tesselctl/commands/coefficientkind.h"
#include "tesselctl/commands/commands.h"

namespace TesselCtl {

namespace {

const char* const footer = R"(
Examples:
  tesselctl --device 192.168.0.10 coefficients upload tables/ --kind multilayer
  tesselctl --device 192.168.0.10 coefficients upload tables/ --cabinets 3,7
  tesselctl --device 192.168.0.10 coefficients download tables/ --kind multilayer --cabinets 3,7
  tesselctl --device 192.168.0.10 coefficients save --cabinets 3,7
  tesselctl --device 192.168.0.10 coefficients clear --cabinets 3,7 --kind lowgray)";

} // namespace

QStringList CoefficientSelection::cabinetNames() const
{
    QStringList names = cabinets.split(QLatin1Char(','), Qt::SkipEmptyParts);
    names.removeDuplicates();
    return names;
}

CommandOption CoefficientSelection::addKind(CommandParser& command)
{
    return command.add("--kind", kind, QStringLiteral("which coefficients"))
        .oneOf(coefficientKindNames())
        .placeholder("KIND")
        .showDefault();
}

CommandOption CoefficientSelection::addCabinets(CommandParser& command, const QString& description)
{
    return command.add("--cabinets", cabinets, description).placeholder("ID,ID...");
}

void addCoefficients(CommandParser& parser)
{
    CommandParser coefficients = parser.addCommand(
        "coefficients", QStringLiteral("upload, download, save or clear correction coefficients"));
    coefficients.setFooter(
        QStringLiteral("\nKinds: %1.\n%2")
            .arg(coefficientKindNames().join(QStringLiteral(", ")), QString::fromUtf8(footer)));
    addCoefficientUpload(coefficients);
    addCoefficientDownload(coefficients);
    addCoefficientSave(coefficients);
    addCoefficientClear(coefficients);
}

} // namespace TesselCtl
