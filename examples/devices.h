// SPDX-License-Identifier: MIT
//
// The devices used by the examples.
#ifndef EXAMPLES_DEVICES_H
#define EXAMPLES_DEVICES_H

#include <simulator/simulator.h>

#include <QCoreApplication>
#include <QStringList>

#include <memory>
#include <vector>

/// The addresses from the command line, or those of simulated controllers that live as long as this object.
class Devices
{
public:
    explicit Devices(int simulated = 1)
        : addresses(QCoreApplication::arguments().mid(1))
    {
        const int missing = addresses.isEmpty() ? simulated : 0;
        Tessel::Simulator::Options options;
        options.strict = true; // refuses bodies that are not as the description of the device API says
        for (int i = 0; i < missing; ++i) {
            simulators.push_back(std::make_unique<Tessel::Simulator::Simulator>(options));
            if (!simulators.back()->start()) {
                qFatal("%s", qPrintable(simulators.back()->errorString()));
            }
        }
        for (const auto& simulator : simulators) {
            addresses << simulator->address();
        }
    }

    QStringList addresses; ///< also used as device keys
    std::vector<std::unique_ptr<Tessel::Simulator::Simulator>> simulators;
};

#endif
