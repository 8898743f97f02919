// SPDX-License-Identifier: MIT
//
// What the operations that an application uses send, to be compared before and after an upgrade.
#include <operations/reference.h>

#include <QCoreApplication>
#include <QTextStream>

using Tessel::Operations::ReferenceEntry;
using Tessel::Operations::referenceOf;
using Tessel::Operations::ReferenceRequest;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    bool allKnown = true;

    //! [check]
    const QStringList used{"HWInfo::getHWInfo#2", "HWInfo::putHWInfoRename", "ScreenInfo::setBrightness"};
    for (const QString& name : used) {
        const ReferenceEntry* const entry = referenceOf(name);
        out << name << (entry ? "" : ": gone") << '\n';
        allKnown = allKnown && entry;
        for (const ReferenceRequest& request : entry ? entry->requests : std::vector<ReferenceRequest>()) {
            out << "  " << request.verb << ' ' << request.path << "  " << request.timeLimit << " ms\n";
        }
    }
    //! [check]
    return allKnown ? 0 : 1;
}
