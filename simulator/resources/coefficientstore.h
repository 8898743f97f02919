// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_COEFFICIENTSTORE_H
#define SIMULATOR_RESOURCES_COEFFICIENTSTORE_H

#include <simulator/coefficients.h>
#include <simulator/resources/wall.h>
#include <simulator/routes/route.h>
#include <simulator/text/envelope.h>

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// The correction coefficients of one controller. A table stays the text that was uploaded, so that what is
/// read back is what was sent, to the byte; copies of it share their memory. Operations may be called from
/// any thread.
class CoefficientStore
{
public:
    enum class UploadResult {
        Done,
        NoCabinet, ///< the path names a cabinet that the controller lacks
        NoSpace    ///< more than a controller keeps
    };

    /// The tables of @p wall, of @p limit bytes at most.
    CoefficientStore(const Wall& wall, qint64 limit);

    /// Whether a write to @p route saves coefficients.
    static bool isSave(const Route& route);

    /// The reply to a GET on @p route with @p cabinet in the place of its placeholder; null when there is no
    /// such cabinet. A route without placeholder gives the loaded tables of all.
    SharedText read(const Route& route, const std::string& cabinet);
    /// Loads @p json into the cabinet that the path names or, without one, its elements into the cabinets
    /// that they name. A list of which an element names none is kept and given back as one.
    UploadResult upload(const Route& route, const std::string& cabinet, std::string_view json);
    /// Does what a write to @p route asks of @p cabinets, as ids: saves, loads, applies, clears or shows;
    /// nothing when the route asks for none of these.
    void act(const Route& route, const std::vector<std::string>& cabinets);

    /// The table of a cabinet as JSON; empty when there is no such cabinet.
    std::string table(const std::string& cabinet, CoefficientKind kind, CoefficientBank bank) const;
    /// The bank that a cabinet shows.
    CoefficientBank shown(const std::string& cabinet) const;
    CoefficientCounts counts(CoefficientKind kind) const;
    /// Counts, and of each cabinet what it shows and the size and SHA-256 of each table that it got.
    nlohmann::json summary() const;

    void resetCounts();
    /// Back to the tables that the wall was delivered with.
    void reset();

private:
    static constexpr std::size_t kinds = coefficientKindCount;
    static constexpr std::size_t banks = 5;

    /// As the reply that reads it, so that reading copies nothing. Without one it is the table that the
    /// cabinet was delivered with.
    struct Table
    {
        SharedText reply;
        bool namesCabinet = false; ///< each element names the cabinet that it is for
    };
    struct Cabinet
    {
        std::array<std::array<Table, banks>, kinds> tables;
        CoefficientBank shown = CoefficientBank::Loaded;
    };
    struct Uploads
    {
        CoefficientCounts counts;
        SharedText unplaced; ///< uploaded without saying for which cabinets
        SharedText all;      ///< the reply that lists the tables of all; null until it is asked for
    };

    // The other private operations are called with m_mutex held.
    std::optional<std::size_t> numberOf(const std::string& cabinet) const;
    Table makeTable(std::string_view json, bool namesCabinet) const;
    void place(CoefficientKind kind, std::string_view list);
    Table& tableOf(std::size_t number, CoefficientKind kind, CoefficientBank bank);
    const Table* kept(std::size_t number, CoefficientKind kind, CoefficientBank bank) const;
    std::string_view textOf(std::size_t number, CoefficientKind kind, CoefficientBank bank) const;
    SharedText listOfAll(CoefficientKind kind);

    const Wall m_wall;
    const std::size_t m_limit;
    const std::shared_ptr<std::atomic<std::size_t>> m_bytes; ///< of all texts that are still held
    mutable std::mutex m_mutex;                              ///< guards everything below
    std::map<std::size_t, Cabinet>
        m_cabinets; ///< by number, from 1; 0 for a path with its placeholder unfilled
    std::array<Uploads, kinds> m_uploads;
};

} // namespace Tessel::Simulator

#endif
