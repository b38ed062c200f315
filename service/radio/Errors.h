// What goes wrong in the radios by itself.
#pragma once

#include <cstdint>
#include <functional>

namespace pelacon::service::radio {

/// Connection errors that no request asked for. Called under the world's lock, and calls back
/// under it.
class Errors {
  public:
    /// The codes that programs have words for; others may come as well.
    static constexpr std::int32_t kGroupExists = 0x10000001;
    static constexpr std::int32_t kBleSendFailed = 0x20000000;

    using Observer = std::function<void(std::int32_t code)>;

    Errors() = default;
    virtual ~Errors() = default;
    Errors(const Errors&) = delete;
    Errors& operator=(const Errors&) = delete;

    /// Has the observer told of each error. Observers live as long as the radios.
    virtual void Observe(Observer observer) = 0;
};

}  // namespace pelacon::service::radio
