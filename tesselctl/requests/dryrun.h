// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_DRYRUN_H
#define TESSELCTL_REQUESTS_DRYRUN_H

#include <QVariant>

namespace TesselCtl {

/// While it exists, nothing reaches a device: requests are remembered and answered well in process. One at a
/// time, on the application's thread; from any thread of the library.
class DryRun
{
public:
    DryRun();
    ~DryRun();

    /// The writes so far: maps with verb, path and body, which is a text where it is not JSON, and null
    /// where there is none.
    /// Reads are not among them.
    QVariantList writes() const;

private:
    class Engine;

    Engine* m_engine; // the proxy owns it
    Q_DISABLE_COPY_MOVE(DryRun)
};

/// DryRun::writes() as what follows the name of a device: a line each, with verb, path and body.
QString unsentText(const QVariantList& writes);

} // namespace TesselCtl

#endif
