// Messages of the kernel's netlink.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

struct nl_msg;

namespace pelacon::service::linux_radios::netlink {

/// The attributes of a message, or those that are nested in one of them. They refer to the bytes
/// that they were read from. What is not well-formed is left out.
class Attributes {
  public:
    struct One {
        std::uint16_t type;
        std::span<const std::uint8_t> content;
    };

    Attributes() = default;
    explicit Attributes(std::span<const std::uint8_t> bytes);

    bool Has(std::uint16_t type) const noexcept { return Find(type).has_value(); }

    /// Nothing if there is no such attribute, or it is shorter than the number.
    template <typename Number>
    std::optional<Number> Get(std::uint16_t type) const;

    /// Up to the first zero.
    std::optional<std::string> Text(std::uint16_t type) const;

    /// Empty if there is no such attribute.
    std::span<const std::uint8_t> Bytes(std::uint16_t type) const;
    Attributes Nested(std::uint16_t type) const { return Attributes(Bytes(type)); }

    /// All of them, in order; the types of the elements of a list are their numbers.
    const std::vector<One>& All() const& noexcept { return all_; }
    std::vector<One> All() && noexcept { return std::move(all_); }  // so that a loop may have it

  private:
    std::optional<std::span<const std::uint8_t>> Find(std::uint16_t type) const noexcept;

    std::vector<One> all_;
};

/// A request to a family.
class Request {
  public:
    enum class Kind : std::uint8_t {
        kDo,    ///< answered by an acknowledgement
        kDump,  ///< answered by any number of messages
    };

    /// Throws std::bad_alloc.
    Request(std::uint16_t family, std::uint8_t command, Kind kind);

    /// A request to rtnetlink, which is acknowledged: what comes before its attributes is given.
    /// Throws std::bad_alloc.
    Request(std::uint16_t type, std::uint16_t flags, std::span<const std::uint8_t> header);

    Request& Put(std::uint16_t type, std::uint32_t value);
    Request& Put(std::uint16_t type, const std::string& text);
    Request& Put(std::uint16_t type, std::span<const std::uint8_t> bytes);
    Request& PutFlag(std::uint16_t type);

    /// Its bytes, with this number.
    std::vector<std::uint8_t> Bytes(std::uint32_t sequence) const;

  private:
    struct Freed {
        void operator()(nl_msg* message) const;
    };
    std::unique_ptr<nl_msg, Freed> message_;
};

/// A message of a family: an answer, or an event.
struct Message {
    std::uint16_t family = 0;
    std::uint8_t command = 0;
    Attributes attributes;
};

}  // namespace pelacon::service::linux_radios::netlink
