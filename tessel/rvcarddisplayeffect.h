// SPDX-License-Identifier: MIT
#ifndef TESSEL_RVCARDDISPLAYEFFECT_H
#define TESSEL_RVCARDDISPLAYEFFECT_H

#include <tessel/tesselexport.h>

#include <QMap>
#include <QObject>
#include <QVariant>

/// What the receiving card of a cabinet reports about its display effect.
///
/// No cache, no events. The operation blocks its caller and may run on any thread once the route table is
/// there (AllUrlResource); the first getInstance() comes from one thread at a time.
class TESSEL_EXPORT RvCardDisplayEffect : public QObject
{
    Q_OBJECT
public:
    /// The one of the process, created on first use and never deleted.
    static RvCardDisplayEffect* getInstance();

    /// The display gain data of a cabinet. @return whether the device answered; @p result is replaced, by an
    /// empty one on failure.
    bool getDisplayGainData(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);

private:
    explicit RvCardDisplayEffect(QObject* parent = nullptr);
    ~RvCardDisplayEffect() override;

    static RvCardDisplayEffect* m_pInstance;
};

#endif
