// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_ROUTES_ROUTE_H
#define SIMULATOR_ROUTES_ROUTE_H

#include <string>
#include <vector>

namespace Tessel::Simulator {

/// Verbs of the device API, combined by |. HEAD goes with Get; OPTIONS is always answered.
enum Verb : unsigned { Get = 1, Put = 2, Post = 4, Delete = 8 };
using Verbs = unsigned;

/// The resource family that a route belongs to: each has its list of instances.
enum class Family { Device, Screen, Cabinet, Input, Output, Pipeline, Channel };
constexpr std::size_t familyCount = 7;

/// What a route addresses.
enum class Scope {
    Value,      ///< one value of the device, such as "/device/monitor/state"
    Collection, ///< all instances of a family: "/device/cabinet"
    Instance,   ///< one instance: "/device/pipeline/{id}"
    Property,   ///< one property of one instance: "/device/cabinet/{id}/brightness"
    Plural,     ///< one property of all instances: "/device/cabinet/brightness"
    Firmware    ///< a firmware file for download
};

/// One path of the device API.
struct Route
{
    std::string pattern;           ///< "/api/v1/device/cabinet/{id}/brightness"
    std::vector<std::string> keys; ///< route keys that share the path
    std::string property; ///< "/device/cabinet/brightness": one name for the singular and the plural route
    Family family = Family::Device;
    Scope scope = Scope::Value;
    Verbs verbs = Get | Put;
    bool takesFiles = false;      ///< bodies that are no JSON are welcome
    bool multiScreenOnly = false; ///< controllers with one screen lack it
};

} // namespace Tessel::Simulator

#endif
