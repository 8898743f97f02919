// SPDX-License-Identifier: MIT
#include <communicator/jsonutil.h>

#include <json/jsonreader.h>

bool JsonUtil::fromJsonToKeyPathMap(const QString& text, QMap<QString, QVariant>& out)
{
    return JsonText::readFlattened(text.toUtf8(), out);
}

bool JsonUtil::fromJsonToMapWithoutData(const QString& text, QMap<QString, QVariant>& out)
{
    return JsonText::readObject(text.toUtf8(), out);
}
