// SPDX-License-Identifier: MIT
#ifndef TESSEL_ALLURLRESOURCE_H
#define TESSEL_ALLURLRESOURCE_H

#include <tessel/tesselexport.h>

#include <QMap>
#include <QObject>
#include <QString>

#include <initializer_list>

/// The route table: maps route keys to the paths of the device API. No other place knows these paths.
///
/// Keys are compared exactly. Paths have no host; their placeholders (`{id}`, `{cid}`, `{outputid}`,
/// `{type}`) are expanded by the transport. The table is complete once constructed and never changes, so
/// lookups need no lock and may come from any thread.
/// @warning The first getInstance() must not race with another. The same holds for the first operation of any
/// class, which creates the table if getInstance() was not called before.
class TESSEL_EXPORT AllUrlResource : public QObject
{
    Q_OBJECT
public:
    static const QString Device_Hwinfo;          ///< the key of the hardware information
    static const QString Device_System;          ///< the key of the system
    static const QString Device_AllScreens;      ///< the key of all screens, single-screen protocol
    static const QString Device_Mult_AllScreens; ///< the key of all screens, multi-screen protocol

    /// The table, created on first use and never deleted.
    static AllUrlResource* getInstance();
    /// The whole table, implicitly shared.
    QMap<QString, QString> getMapAllUrl();
    /// The path of @p key, or an empty text if the table does not have it; nothing is logged.
    static QString getUrl(const QString& key);

private:
    struct Route;

    explicit AllUrlResource(QObject* parent = nullptr);
    ~AllUrlResource() override;

    void initHwInfo();
    void initPipes();
    void initCorrectionop();
    void initOutPuts();
    void initCabinets();
    void initInputs();
    void initScreens();
    void initFactoryop();
    void initCapability();
    void initHwScreen();
    void initMonitor();
    void initSelfTestop();
    void initAlgorithm();

    /// Inserts @p routes in order, prefixing each path with @p prefix; a key inserted twice keeps its last
    /// path.
    void insertAll(const QString& prefix, std::initializer_list<Route> routes);

    QMap<QString, QString> m_mapAllUrl;
    static AllUrlResource* m_pInstance;
};

#endif
