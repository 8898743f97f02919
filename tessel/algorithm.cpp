// SPDX-License-Identifier: MIT
#include <tessel/algorithm.h>

#include <tessel/frames/request.h>

using Tessel::Request;

Algorithm* Algorithm::m_pInstance = nullptr;

Algorithm* Algorithm::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new Algorithm(nullptr);
    }
    return m_pInstance;
}

Algorithm::Algorithm(QObject* parent)
    : QObject(parent)
{}

Algorithm::~Algorithm() = default;

// Quirk: The routes of the colour algorithms are never in force.
// Quirk: An operation without a route sends its request with an empty path. So do the two below.
bool Algorithm::getRGBLight(const QString& deviceKey, const QMap<QString, QString>& query,
                            QMap<QString, QVariant>& result)
{
    return Request("Algorithm_RGBLight").parameters(query).get(deviceKey, result);
}

bool Algorithm::getWhiteLightCoord(const QString& deviceKey, const QMap<QString, QString>& query,
                                   QMap<QString, QVariant>& result)
{
    return Request("Algorithm_WhiteLightCoord").parameters(query).get(deviceKey, result);
}

bool Algorithm::getColorTemperature(const QString& deviceKey, const QMap<QString, QString>& query,
                                    QMap<QString, QVariant>& result)
{
    return Request("Algorithm_colorTemperature").parameters(query).get(deviceKey, result);
}
