// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_CONTINUITY_H
#define COMMUNICATOR_EVENTS_CONTINUITY_H

#include <QByteArray>

namespace Krelm::Communicator::HttpDevice {

/// Whether the events of one device follow each other without a gap, over all of its streams.
///
/// Event ids have the form `epoch:sequence`: the epoch identifies one run of the device, the sequence counts
/// its events. Every stream begins with the id after which it continues. A reopened stream proves that
/// nothing was missed by beginning with the id that it was asked to continue after, or with the event that
/// follows it; nothing else is proof. Used by one thread at a time.
class Continuity
{
public:
    /// Call this when a stream was opened and asked to resume after @p lastId, which is empty if no id is
    /// known.
    /// @return whether events may have been missed, because nothing received later could prove the contrary.
    bool opened(const QByteArray& lastId);
    /// Call this when events may be missed until the next stream is opened, because it could not be opened or
    /// an event was dropped.
    void interrupted() { m_isInterrupted = true; }

    /// Call this when an id was received.
    /// @return whether events may have been missed before it.
    bool idCame(const QByteArray& id);
    /// Call this when an event without an id was received, or nothing at all for too long.
    /// @return whether events may have been missed before.
    bool nothingProven();
    /// Call this when the device reports that it has lost events.
    /// @return `true`, because they were missed.
    bool gapCame();

    /// Whether an open stream still has to prove that it goes on where the last one ended.
    bool isUnproven() const { return m_isUnproven; }

private:
    QByteArray m_lastId;
    bool m_wasOpen = false;
    bool m_isInterrupted = false;
    bool m_isUnproven = false;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
