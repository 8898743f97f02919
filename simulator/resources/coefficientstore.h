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

/// The correction coefficients of one controller. A table is stored as the uploaded text, so that it is read
/// back byte for byte; copies share memory. May be used from any thread.
class CoefficientStore
{
public:
    enum class UploadResult {
        Done,
        NoCabinet, ///< the path names a cabinet that does not exist
        NoSpace    ///< the limit of stored coefficients is exceeded
    };

    /// The tables of @p wall, limited to @p limit bytes in total.
    CoefficientStore(const Wall& wall, qint64 limit);

    /// Whether a write to @p route saves coefficients.
    static bool isSave(const Route& route);

    /// The reply to a GET on @p route with @p cabinet for its placeholder; null if there is no such cabinet.
    /// A route without a placeholder returns the loaded tables of all cabinets.
    SharedText read(const Route& route, const std::string& cabinet);
    /// Loads @p json into the cabinet that the path names or, if it names none, its elements into the
    /// cabinets that they name. A list with an element that names none is stored and returned as a whole.
    UploadResult upload(const Route& route, const std::string& cabinet, std::string_view json);
    /// Applies the action of a write to @p route to @p cabinets, given as ids: saves, loads, applies, clears
    /// or shows; does nothing if the route has no such action.
    void act(const Route& route, const std::vector<std::string>& cabinets);

    /// The table of a cabinet as JSON; empty if there is no such cabinet.
    std::string table(const std::string& cabinet, CoefficientKind kind, CoefficientBank bank) const;
    /// The bank that a cabinet shows.
    CoefficientBank shown(const std::string& cabinet) const;
    CoefficientCounts counts(CoefficientKind kind) const;
    /// The counts and, for each cabinet, what it shows and the size and SHA-256 of each uploaded table.
    nlohmann::json summary() const;

    void resetCounts();
    /// Restores the factory tables.
    void reset();

private:
    static constexpr std::size_t kinds = coefficientKindCount;
    static constexpr std::size_t banks = 5;

    /// Stored as the reply that returns it, so that reading copies nothing; null for the factory table.
    struct Table
    {
        SharedText reply;
        bool namesCabinet = false; ///< whether each element names its cabinet
    };
    struct Cabinet
    {
        std::array<std::array<Table, banks>, kinds> tables;
        CoefficientBank shown = CoefficientBank::Loaded;
    };
    struct Uploads
    {
        CoefficientCounts counts;
        SharedText unplaced; ///< uploaded without naming cabinets
        SharedText all;      ///< the reply that lists all tables; null until it is requested
    };

    // The other private functions are called with m_mutex held.
    std::optional<std::size_t> numberOf(const std::string& cabinet) const;
    Table makeTable(std::string_view json, bool namesCabinet) const;
    void place(CoefficientKind kind, std::string_view list);
    Table& tableOf(std::size_t number, CoefficientKind kind, CoefficientBank bank);
    const Table* kept(std::size_t number, CoefficientKind kind, CoefficientBank bank) const;
    std::string_view textOf(std::size_t number, CoefficientKind kind, CoefficientBank bank) const;
    SharedText listOfAll(CoefficientKind kind);

    const Wall m_wall;
    const std::size_t m_limit;
    const std::shared_ptr<std::atomic<std::size_t>> m_bytes; ///< of all texts still held
    mutable std::mutex m_mutex;                              ///< guards all members below
    std::map<std::size_t, Cabinet>
        m_cabinets; ///< by number, from 1; 0 for a path with its placeholder unfilled
    std::array<Uploads, kinds> m_uploads;
};

} // namespace Tessel::Simulator

#endif
