// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATIONS_ARGUMENTS_H
#define TESSELCTL_OPERATIONS_ARGUMENTS_H

#include "tesselctl/terminal/expected.h"

#include <operations/operation.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace TesselCtl {

using Tessel::Operations::Operation;
using Tessel::Operations::ValueType;

/// Reads the content of `@file` and `-`, each once, so that overloads can be tried on the same content.
class ArgumentFiles
{
public:
    /// @return the content, or why it cannot be read.
    Expected<QByteArray> read(const QString& text);
    /// Whether @p text names a file or standard input.
    static bool isFile(const QString& text);

private:
    std::map<QString, QByteArray> m_contents;
};

/// Converts @p text to a value of @p type; the error says what was expected. Types written as JSON or bytes
/// also take `@file` and `-`; texts and numbers are taken as they are.
Expected<QVariant> valueFromText(ValueType type, const QString& text, ArgumentFiles& files);

/// An operation together with one value per parameter, that of the device still open.
struct BoundCall
{
    const Operation* operation;
    QVariantList values;
};

/// Fits @p texts, positional or `name=value`, to the one of @p overloads that takes them. Where several do,
/// one whose types say more than text wins, then the one with more outputs.
Expected<BoundCall> bindArguments(const std::vector<const Operation*>& overloads, const QStringList& texts,
                                  ArgumentFiles& files);

} // namespace TesselCtl

#endif
