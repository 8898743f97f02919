// SPDX-License-Identifier: MIT
#ifndef TESSEL_ENVELOPES_CABINETSRESPONSE_H
#define TESSEL_ENVELOPES_CABINETSRESPONSE_H

#include <tessel/envelopes/commonresponse.h>
#include <tessel/records/cabinetinfo.h>

#include <QList>
#include <QString>
#include <QVariant>

namespace Tessel {

/// A reply whose data is a list of cabinets. A value; an object must be used by only one thread at a time.
class CabinetsResponse : public CommonResponse
{
    Q_GADGET
    Q_PROPERTY(QVariant data READ _getdatadata WRITE _setdatadata)
public:
    CabinetsResponse();
    CabinetsResponse(const CabinetsResponse& other);
    CabinetsResponse(CabinetsResponse&& other) noexcept;
    CabinetsResponse& operator=(const CabinetsResponse& other);
    CabinetsResponse& operator=(CabinetsResponse&& other) noexcept;

    const QMetaObject* metaObject() const override;
    ~CabinetsResponse() override;
    Zeph::Serialize::Serializable* clone() const override;

private:
    // Quirk: Members that nothing uses are part of the layout.
    QString m_reservedText;
    int m_reservedNumber;

public:
    QList<CabinetInfo> data; ///< the cabinets

private:
    QVariant _getdatadata() const;
    void _setdatadata(const QVariant& value);
};

} // namespace Tessel

#endif
