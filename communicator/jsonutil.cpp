// SPDX-License-Identifier: MIT
#include <communicator/jsonutil.h>

#include <communicator/jsonreader.h>

namespace Json = Krelm::Communicator::Json;

bool JsonUtil::fromJsonToKeyPathMap(const QString& text, QMap<QString, QVariant>& out)
{
    return Json::readFlattened(text.toUtf8(), out);
}

bool JsonUtil::fromJsonToMapWithoutData(const QString& text, QMap<QString, QVariant>& out)
{
    return Json::readObject(text.toUtf8(), out);
}
