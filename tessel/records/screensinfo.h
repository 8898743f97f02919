// SPDX-License-Identifier: MIT
#ifndef TESSEL_RECORDS_SCREENSINFO_H
#define TESSEL_RECORDS_SCREENSINFO_H

#include <tessel/records/subscreeninfo.h>
#include <tessel/tesselexport.h>

#include <zephserializer/serializable.h>

#include <QList>
#include <QString>
#include <QVariant>

namespace Tessel {

/// A screen and its sub-screens. A value; an object must be used by only one thread at a time.
class TESSEL_EXPORT ScreensInfo : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QString screenUUID MEMBER screenUUID)
    Q_PROPERTY(QString screenName MEMBER screenName)
    Q_PROPERTY(QString screenTime MEMBER screenTime)
    Q_PROPERTY(QVariant subScreens READ _getsubScreenssubScreens WRITE _setsubScreenssubScreens)
public:
    ScreensInfo();
    /// @cond copies and moves
    ScreensInfo(const ScreensInfo& other);
    ScreensInfo(ScreensInfo&& other) noexcept;
    ScreensInfo& operator=(const ScreensInfo& other);
    ScreensInfo& operator=(ScreensInfo&& other) noexcept;
    /// @endcond

    const QMetaObject* metaObject() const override;
    ~ScreensInfo() override;
    Zeph::Serialize::Serializable* clone() const override;

    QString screenUUID;              ///< id of the screen
    QString screenName;              ///< name given by the user
    QString screenTime;              ///< time as the device reports it
    QList<SubScreenInfo> subScreens; ///< sub-screens

private:
    QVariant _getsubScreenssubScreens() const;
    void _setsubScreenssubScreens(const QVariant& value);
};

} // namespace Tessel

#endif
