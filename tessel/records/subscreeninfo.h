// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_SUBSCREENINFO_H
#define TESSEL_RECORDS_SUBSCREENINFO_H

#include <tessel/records/cabinetinfo.h>
#include <tessel/records/point.h>
#include <tessel/records/size.h>
#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

#include <QList>
#include <QString>
#include <QVariant>

namespace Tessel {

/// A sub-screen: the input it shows, its position and its cabinets. A value; an object must be used by only
/// one thread at a time.
class TESSEL_EXPORT SubScreenInfo : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QString subScreenID MEMBER subScreenID)
    Q_PROPERTY(QString inputID MEMBER inputID)
    // Quirk: Misspelt names are part of the interface. This one is a member on the wire.
    Q_PROPERTY(QVariant postion READ _getpostionpostion WRITE _setpostionpostion)
    Q_PROPERTY(QVariant size READ _getsizesize WRITE _setsizesize)
    Q_PROPERTY(QVariant cabinets READ _getcabinetscabinets WRITE _setcabinetscabinets)
public:
    SubScreenInfo();
    /// @cond copies and moves
    SubScreenInfo(const SubScreenInfo& other);
    SubScreenInfo(SubScreenInfo&& other) noexcept;
    SubScreenInfo& operator=(const SubScreenInfo& other);
    SubScreenInfo& operator=(SubScreenInfo&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~SubScreenInfo() override;
    Zeph::Serialize::Serializable* clone() const override;

    QString subScreenID;         ///< id of the sub-screen
    QString inputID;             ///< id of the input that it shows
    Point postion;               ///< its upper left corner
    Size size;                   ///< its size
    QList<CabinetInfo> cabinets; ///< cabinets of the sub-screen

private:
    QVariant _getpostionpostion() const;
    void _setpostionpostion(const QVariant& value);
    QVariant _getsizesize() const;
    void _setsizesize(const QVariant& value);
    QVariant _getcabinetscabinets() const;
    void _setcabinetscabinets(const QVariant& value);
};

} // namespace Tessel

#endif
