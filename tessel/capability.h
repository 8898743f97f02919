// SPDX-License-Identifier: MIT
#ifndef TESSEL_CAPABILITY_H
#define TESSEL_CAPABILITY_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QObject>
#include <QVariant>

/// The driver chips and row-decoder chips that a device supports.
///
/// No cache, no events. Operations block their caller and may run on any thread once the route table exists
/// (see AllUrlResource); the first getInstance() must not race with another. They return whether the exchange
/// succeeded; outputs are replaced, and are empty after a failure. After a `false` or a rejected promise,
/// OperationOutcome (`communicator/calloutcome.h`) gives the reason.
class TESSEL_EXPORT Capability : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static Capability* getInstance();

    /// The driver chips that the device supports.
    bool getAllChipType(const QString& deviceKey, QList<QVariant>& result);
    /// The row-decoder chips that the device supports.
    bool getRowDecodeType(const QString& deviceKey, QList<QVariant>& result);

private:
    explicit Capability(QObject* parent = nullptr);
    ~Capability() override;

    static Capability* m_pInstance;
};

#endif
