// SPDX-License-Identifier: MIT
#ifndef TESTS_OBJECTSLEFT_H
#define TESTS_OBJECTSLEFT_H

#include <tessel/allurlresource.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QObject>

#include <algorithm>
#include <atomic>
#include <set>
#include <vector>

// Qt's table of hooks for debuggers, among them those that see every QObject come and go.
extern Q_CORE_EXPORT quintptr qtHookData[];

inline std::atomic<int> livingObjects{0};

/// How many of the QObjects that @p call makes outlive it.
template <class Call>
int objectsLeftBy(Call call)
{
    constexpr int created = 3;
    constexpr int destroyed = 4;
    // What lives as long as the program may come with the first call of all, and counts for none.
    AllUrlResource::getInstance();
    HWInfo::getInstance();
    ScreenInfo::getInstance();
    livingObjects = 0;
    qtHookData[created] = reinterpret_cast<quintptr>(+[](QObject*) { ++livingObjects; });
    qtHookData[destroyed] = reinterpret_cast<quintptr>(+[](QObject*) { --livingObjects; });
    call();
    qtHookData[created] = 0;
    qtHookData[destroyed] = 0;
    return livingObjects;
}

/// A QObject that came or went.
struct ObjectFate
{
    QObject* object;
    bool made; ///< otherwise destroyed
};
inline std::vector<ObjectFate> objectFates;

/// Which QObjects come and go during @p call, in order. To be called while no other thread makes any.
template <class Call>
std::vector<ObjectFate> objectFatesDuring(Call call)
{
    constexpr int created = 3;
    constexpr int destroyed = 4;
    objectFates.clear();
    qtHookData[created] = reinterpret_cast<quintptr>(+[](QObject* object) {
        objectFates.push_back({object, true});
    });
    qtHookData[destroyed] = reinterpret_cast<quintptr>(+[](QObject* object) {
        objectFates.push_back({object, false});
    });
    call();
    qtHookData[created] = 0;
    qtHookData[destroyed] = 0;
    return objectFates;
}

/// How many of the objects that came during the running objectFatesDuring() are of a class and still there.
template <class Class>
int livingNow()
{
    std::set<QObject*> living;
    for (const ObjectFate& fate : objectFates) {
        if (fate.made) {
            living.insert(fate.object);
        } else {
            living.erase(fate.object);
        }
    }
    return static_cast<int>(std::count_if(living.begin(), living.end(), [](QObject* object) {
        return qobject_cast<Class*>(object) != nullptr;
    }));
}

#endif
