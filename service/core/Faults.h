// Fault injection.
#pragma once

#include <json/Output.h>
#include <json/Reader.h>
#include <protocol/Catalogue.h>
#include <service/base/Random.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service {

/// What happens to a request.
enum class FaultKind : std::uint8_t {
    kDelay,       ///< handled later
    kNever,       ///< not answered
    kEmpty,       ///< answered without payload
    kStatus,      ///< refused with a status
    kDisconnect,  ///< its connection is closed
    kMalformed,   ///< answered with bytes that are not a frame
};

/// A fault as a world file or an operator's command describes it.
struct FaultConfig {
    std::string request = "any";                      ///< as written: a name, an id, or "any"
    const protocol::CatalogueEntry* entry = nullptr;  ///< the operation, if given by name
    std::optional<std::int32_t> id;                   ///< the id, if given by number
    FaultKind kind = FaultKind::kNever;
    std::chrono::milliseconds delay{0};  ///< before the fault
    std::int32_t status = 0;
    bool perform = false;                ///< perform the operation nevertheless
    std::uint64_t after = 0;             ///< how many matching requests pass first
    std::optional<std::uint64_t> times;  ///< how often; unlimited if not set
    double probability = 1;
    std::optional<std::uint64_t> seed;  ///< of its random numbers
};

void ReadFault(json::Fields& fields, FaultConfig& config);

/// Its name in world files and commands.
std::string_view NameOf(FaultKind kind);

/// What to do with one request.
struct FaultVerdict {
    std::chrono::milliseconds delay{0};
    std::optional<FaultConfig> fault;  ///< the fault that changes the answer, if any
};

/// The active faults. Used with the scheduler's lock held.
class Faults {
  public:
    /// Faults without a seed get one that is derived from this one and their number.
    explicit Faults(std::uint64_t seed) : seed_(seed) {}

    /// Activates a fault, after the existing ones. Returns its number.
    std::uint64_t Add(const FaultConfig& config);

    /// False if there is no such fault.
    bool Remove(std::uint64_t number);
    void Clear() { active_.clear(); }

    bool IsEmpty() const noexcept { return active_.empty(); }

    /// Applies the faults to a request: the delays of all that match add up, and the first of
    /// another kind decides.
    FaultVerdict Judge(std::int32_t id, std::size_t payloadLength);

    /// For the `status` command.
    json::Output::List Describe() const;

  private:
    struct Active {
        std::uint64_t number;
        FaultConfig config;
        Random random;
        std::uint64_t matched = 0;
        std::uint64_t hits = 0;
    };

    static bool Strikes(Active& fault);

    std::uint64_t seed_;
    std::uint64_t lastNumber_ = 0;
    std::vector<Active> active_;
};

/// A reply that contains only this status; nothing if the operation's reply has no status.
std::optional<std::vector<std::uint8_t>> ReplyWithStatus(const protocol::CatalogueEntry* entry,
                                                         std::int32_t status);

}  // namespace pelacon::service
