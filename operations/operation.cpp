// SPDX-License-Identifier: MIT
#include "operations/operation.h"

namespace Tessel::Operations {

QString Operation::qualifiedName() const
{
    return className + QStringLiteral("::") + name;
}

bool Operation::takesDevice() const
{
    return !parameters.empty() && parameters.front().name == QLatin1String("deviceKey");
}

bool Operation::choosesByProtocol() const
{
    return className == QLatin1String("ScreenInfo") || className == QLatin1String("HwScreenInfo");
}

std::vector<std::size_t> Operation::userParameters() const
{
    std::vector<std::size_t> indexes;
    for (std::size_t i = takesDevice() ? 1 : 0; i < parameters.size(); ++i) {
        if (parameters[i].direction != Parameter::Out) {
            indexes.push_back(i);
        }
    }
    return indexes;
}

std::vector<QString> Operation::outputNames() const
{
    std::vector<QString> names;
    for (const Parameter& parameter : parameters) {
        if (parameter.direction != Parameter::In) {
            names.push_back(parameter.name);
        }
    }
    return names;
}

QString Operation::usage() const
{
    QString text = qualifiedName();
    for (const std::size_t index : userParameters()) {
        text += QLatin1Char(' ') + parameters[index].name + QLatin1Char('=') +
                placeholderOf(parameters[index].type);
    }
    QString arrow = QStringLiteral("  ->  ");
    for (const QString& output : outputNames()) {
        text += arrow + output;
        arrow = QStringLiteral(", ");
    }
    return text;
}

} // namespace Tessel::Operations
