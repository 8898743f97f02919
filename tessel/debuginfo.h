// SPDX-License-Identifier: MIT
#ifndef TESSEL_DEBUGINFO_H
#define TESSEL_DEBUGINFO_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

/// @ingroup cabinets
/// Reads, sends and clears the self-test parameters of a cabinet's receiving equipment.
///
/// @snippet snippets.cpp DebugInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache, no events, any thread.
class TESSEL_EXPORT DebugInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static DebugInfo* getInstance();

    /// Reads the parameters that @p body selects. The request is a PUT.
    bool getParameters(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QList<QVariant>& result);
    /// Sends the parameters in @p body.
    bool sendParameters(const QString& deviceKey, const QMap<QString, QVariant>& body,
                        QList<QVariant>& reply);
    /// Clears the key parameters.
    bool clearKeyParameters(const QString& deviceKey, QMap<QString, QVariant>& reply);

private:
    explicit DebugInfo(QObject* parent = nullptr);
    ~DebugInfo() override;

    static DebugInfo* m_pInstance;
};

#endif
