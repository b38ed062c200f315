// Requests that are to go wrong.
#pragma once

#include <json/Reader.h>
#include <protocol/Catalogue.h>
#include <service/base/Random.h>

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::service {

/// What becomes of a request.
enum class FaultKind : std::uint8_t {
    kDelay,       ///< served as usual, but later
    kNever,       ///< not answered at all
    kEmpty,       ///< answered without payload
    kStatus,      ///< refused with a status
    kDisconnect,  ///< the connection that it came on is closed
    kMalformed,   ///< answered with bytes that are no frame
};

/// One fault, as the world file or an operator's command describes it.
struct FaultConfig {
    std::string request = "any";                      ///< as written: a name, an id, or "any"
    const protocol::CatalogueEntry* entry = nullptr;  ///< the operation, when given by name
    std::optional<std::int32_t> id;                   ///< the id, when given by number
    FaultKind kind = FaultKind::kNever;
    std::chrono::milliseconds delay{0};  ///< before anything else happens
    std::int32_t status = 0;
    bool perform = false;     ///< do what is asked all the same; only the answer goes wrong
    std::uint64_t after = 0;  ///< so many matching requests pass first
    std::optional<std::uint64_t> times;  ///< how often; without: again and again
    double probability = 1;
    std::optional<std::uint64_t> seed;  ///< of its own chance
};

FaultConfig ReadFault(const json::Reader& reader);

/// The word for it in world files and commands.
std::string_view NameOf(FaultKind kind);

/// What is to be done with one request.
struct FaultVerdict {
    std::chrono::milliseconds delay{0};
    std::optional<FaultConfig> fault;  ///< the fault that replaces the answer, if any
};

/// The faults in force. Used under the world's lock.
class Faults {
  public:
    /// Faults without a seed of their own get one that follows from this one and their number.
    explicit Faults(std::uint64_t seed) : seed_(seed) {}

    /// Puts a fault in force, behind those there are. Returns its number.
    std::uint64_t Add(const FaultConfig& config);

    /// False when there is no such fault (any more).
    bool Remove(std::uint64_t number);
    void Clear() { active_.clear(); }

    bool IsEmpty() const noexcept { return active_.empty(); }

    /// Judges a request: delays of all that match it add up, and the first of another kind decides.
    FaultVerdict Judge(std::int32_t id, std::size_t payloadLength);

    /// For the `status` command.
    nlohmann::json Describe() const;

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

/// A reply with nothing but this status in it; nothing where the operation's reply has no place
/// for one.
std::optional<std::vector<std::uint8_t>> ReplyWithStatus(const protocol::CatalogueEntry* entry,
                                                         std::int32_t status);

}  // namespace pelacon::service
