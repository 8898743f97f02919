// SPDX-License-Identifier: MIT
#ifndef TESSEL_DEBUGINFO_H
#define TESSEL_DEBUGINFO_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

/// Reads, sends and clears the self-test parameters of a cabinet's receiving equipment.
///
/// No cache, no events. Operations block their caller and may run on any thread once the route table is there
/// (AllUrlResource); the first getInstance() comes from one thread at a time. They return whether the device
/// answered; an output is replaced, by an empty one on failure.
class TESSEL_EXPORT DebugInfo : public QObject
{
    Q_OBJECT
public:
    /// The one of the process, created on first use and never deleted.
    static DebugInfo* getInstance();

    /// Reads the parameters that @p body names.
    bool getParameters(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QList<QVariant>& result);
    /// Sends the parameters in @p body.
    bool sendParameters(const QString& deviceKey, const QMap<QString, QVariant>& body,
                        QList<QVariant>& result);
    /// Clears the key parameters.
    bool clearKeyParameters(const QString& deviceKey, QMap<QString, QVariant>& result);

private:
    explicit DebugInfo(QObject* parent = nullptr);
    ~DebugInfo() override;

    static DebugInfo* m_pInstance;
};

#endif
