// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/question.h"

#include <QFile>

#include <cstdio>
#include <unistd.h>

namespace TesselCtl {

bool canAsk()
{
    return isatty(fileno(stdin)) == 1 && isatty(fileno(stderr)) == 1;
}

bool isAnsweredYes(const QString& question)
{
    const QByteArray text = (question + QStringLiteral(" [y/N] ")).toUtf8();
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stderr);
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return false;
    }
    const QByteArray answer = input.readLine().trimmed().toLower();
    return answer == "y" || answer == "yes";
}

} // namespace TesselCtl
