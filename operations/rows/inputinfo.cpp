// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/inputinfo.h>

namespace Tessel::Operations {

Operations inputInfoOperations()
{
    using C = InputInfo;
    return {
        operation("getAllInputsInfo", qOverload<const QString&, bool>(&C::getAllInputsInfo),
                  {"deviceKey", "force"}),
        operation("getAllInputsInfo", qOverload<const QString&, QList<QVariant>&, bool>(&C::getAllInputsInfo),
                  {"deviceKey", "result", "force"}),
        operation("getSignal", &C::getSignal, {"deviceKey", "id", "result"}),
        operation("getHdMode", &C::getHdMode, {"deviceKey", "id", "result"}),
        operation("getBackup", &C::getBackup, {"deviceKey", "id", "result"}),
        operation("getEDID", &C::getEDID, {"deviceKey", "id", "result"}),
        operation("getHue", &C::getHue, {"deviceKey", "id", "result"}),
        operation("getContrast", &C::getContrast, {"deviceKey", "id", "result"}),
        operation("getSaturation", &C::getSaturation, {"deviceKey", "id", "result"}),
        operation("getBlackLevel", &C::getBlackLevel, {"deviceKey", "id", "result"}),
        operation("getVideoSourceBitDepth", &C::getVideoSourceBitDepth, {"deviceKey", "id", "result"}),
        operation("setHdMode", &C::setHdMode, {"deviceKey", "id", "body", "reply"}),
        operation("setBackup", &C::setBackup, {"deviceKey", "id", "body", "reply"}),
        operation("setEDID", &C::setEDID, {"deviceKey", "id", "body", "reply"}),
        operation("setHue",
                  qOverload<const QString&, const QString&, const QMap<QString, QVariant>&,
                            QMap<QString, QVariant>&>(&C::setHue),
                  {"deviceKey", "id", "body", "reply"}),
        operation("setContrast",
                  qOverload<const QString&, const QString&, const QMap<QString, QVariant>&,
                            QMap<QString, QVariant>&>(&C::setContrast),
                  {"deviceKey", "id", "body", "reply"}),
        operation("setSaturation",
                  qOverload<const QString&, const QString&, const QMap<QString, QVariant>&,
                            QMap<QString, QVariant>&>(&C::setSaturation),
                  {"deviceKey", "id", "body", "reply"}),
        operation("setBlackLevel",
                  qOverload<const QString&, const QString&, const QMap<QString, QVariant>&,
                            QMap<QString, QVariant>&>(&C::setBlackLevel),
                  {"deviceKey", "id", "body", "reply"}),
        operation("setVideoSourceBitDepth", &C::setVideoSourceBitDepth, {"deviceKey", "id", "body", "reply"}),
        operation("clearInputBackup", &C::clearInputBackup, {"deviceKey", "id", "reply"}),
        operation("getAllInputBackup", &C::getAllInputBackup, {"deviceKey", "result"}),
        operation("getEDIDs", &C::getEDIDs, {"deviceKey", "ids", "result"}),
        operation(
            "setHue",
            qOverload<const QString&, const QStringList&, const QMap<QString, QVariant>&, QList<QVariant>&>(
                &C::setHue),
            {"deviceKey", "ids", "body", "reply"}),
        operation(
            "setContrast",
            qOverload<const QString&, const QStringList&, const QMap<QString, QVariant>&, QList<QVariant>&>(
                &C::setContrast),
            {"deviceKey", "ids", "body", "reply"}),
        operation(
            "setSaturation",
            qOverload<const QString&, const QStringList&, const QMap<QString, QVariant>&, QList<QVariant>&>(
                &C::setSaturation),
            {"deviceKey", "ids", "body", "reply"}),
        operation(
            "setBlackLevel",
            qOverload<const QString&, const QStringList&, const QMap<QString, QVariant>&, QList<QVariant>&>(
                &C::setBlackLevel),
            {"deviceKey", "ids", "body", "reply"}),
    };
}

} // namespace Tessel::Operations
