// SPDX-License-Identifier: MIT
#ifndef TESSEL_RVCARDDISPLAYEFFECT_H
#define TESSEL_RVCARDDISPLAYEFFECT_H

#include <tessel/tesselexport.h>

#include <QMap>
#include <QObject>
#include <QVariant>

/// @ingroup cabinets
/// The display effect data that a cabinet's receiving card reports.
///
/// @snippet snippets.cpp RvCardDisplayEffect
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache, no events, any thread.
class TESSEL_EXPORT RvCardDisplayEffect : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static RvCardDisplayEffect* getInstance();

    /// The display gain data of a cabinet. @return whether the exchange succeeded; @p result is replaced, and
    /// emptied on failure.
    bool getDisplayGainData(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);

private:
    explicit RvCardDisplayEffect(QObject* parent = nullptr);
    ~RvCardDisplayEffect() override;

    static RvCardDisplayEffect* m_pInstance;
};

#endif
