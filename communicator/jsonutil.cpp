// SPDX-License-Identifier: MIT
#include <communicator/jsonutil.h>

#include "communicator/http/transferlimits.h"

#include <json/jsonreader.h>

namespace {

// A text that is too long to be converted counts as invalid.
QByteArray utf8(const QString& text)
{
    return text.size() <= Krelm::Communicator::HttpDevice::maxConvertibleText ? text.toUtf8() : QByteArray();
}

} // namespace

bool JsonUtil::fromJsonToKeyPathMap(const QString& text, QMap<QString, QVariant>& out)
{
    return JsonText::readFlattened(utf8(text), out);
}

bool JsonUtil::fromJsonToMapWithoutData(const QString& text, QMap<QString, QVariant>& out)
{
    return JsonText::readObject(utf8(text), out);
}
