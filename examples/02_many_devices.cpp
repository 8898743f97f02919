// SPDX-License-Identifier: MIT
//
// The same read on many devices at once. A blocking operation runs on its caller's thread, and requests to
// different devices do not wait for each other.
#include "devices.h"

#include <tessel/capability.h>

#include <QTextStream>

#include <future>
#include <utility>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices(8);

    //! [threads]
    // Make the first getInstance() call before starting threads, since it must not race.
    Capability* const capability = Capability::getInstance();
    std::vector<std::future<std::pair<bool, int>>> answers;
    for (const QString& address : devices.addresses) {
        answers.push_back(std::async(std::launch::async, [capability, address] {
            QList<QVariant> chips;
            const bool answered = capability->getAllChipType(address, chips);
            return std::make_pair(answered, int(chips.size()));
        }));
    }
    //! [threads]

    QTextStream out(stdout);
    bool allAnswered = true;
    for (std::size_t i = 0; i < answers.size(); ++i) {
        const auto [answered, count] = answers[i].get();
        out << devices.addresses.at(static_cast<int>(i)) << "  ";
        if (answered) {
            out << count << " chips\n";
        } else {
            out << "no answer\n";
        }
        allAnswered = allAnswered && answered;
    }
    return allAnswered ? 0 : 1;
}
