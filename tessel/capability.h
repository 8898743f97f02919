// SPDX-License-Identifier: MIT
#ifndef TESSEL_CAPABILITY_H
#define TESSEL_CAPABILITY_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QObject>
#include <QVariant>

/// Which driver chips and row-decoder chips a device knows.
///
/// No cache, no events. Operations block their caller and may run on any thread once the route table is there
/// (AllUrlResource); the first getInstance() comes from one thread at a time. They return whether the device
/// answered; an output is replaced, by an empty one on failure.
class TESSEL_EXPORT Capability : public QObject
{
    Q_OBJECT
public:
    /// The one of the process, created on first use and never deleted.
    static Capability* getInstance();

    /// The driver chips that the device knows.
    bool getAllChipType(const QString& deviceKey, QList<QVariant>& result);
    /// The row-decoder chips that the device knows.
    bool getRowDecodeType(const QString& deviceKey, QList<QVariant>& result);

private:
    explicit Capability(QObject* parent = nullptr);
    ~Capability() override;

    static Capability* m_pInstance;
};

#endif
