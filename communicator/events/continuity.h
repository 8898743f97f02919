// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_CONTINUITY_H
#define COMMUNICATOR_EVENTS_CONTINUITY_H

#include <QByteArray>

namespace Krelm::Communicator::HttpDevice {

/// Whether the events of one device follow each other without a gap, over all of its streams.
///
/// Ids of events are `epoch:sequence`: the epoch names one life of the device, the sequence counts its
/// events. Every stream begins with the id after which it goes on. A stream that is opened again proves that
/// nothing was missed by beginning with the id it was asked to resume after, or with the event that follows
/// it; whatever else it does proves nothing. Used by one thread at a time.
class Continuity
{
public:
    /// A stream was opened and asked to resume after @p lastId, which is empty when no id is known.
    /// @return whether events may have been missed, as nothing that comes could prove the contrary.
    bool opened(const QByteArray& lastId);
    /// What happens until the next stream is opened may be missed: it could not be opened, or an event was
    /// dropped.
    void interrupted() { m_isInterrupted = true; }

    /// An id came. @return whether events may have been missed before it.
    bool idCame(const QByteArray& id);
    /// An event without an id came, or none of all for too long. @return whether events may have been missed
    /// before it.
    bool nothingProven();
    /// The device says that it lost events. @return true, for they were missed.
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
