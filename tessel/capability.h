// SPDX-License-Identifier: MIT
#ifndef TESSEL_CAPABILITY_H
#define TESSEL_CAPABILITY_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QObject>
#include <QVariant>

/// @ingroup devices
/// The driver chips and row-decoder chips that a device supports.
///
/// @snippet snippets.cpp Capability
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache, no events, any thread.
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
