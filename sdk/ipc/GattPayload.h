// UUIDs and lengths that peers sent, made safe to pass to an application.
#pragma once

#include <protocol/Codec.h>
#include <protocol/Gatt.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace pelacon {

/// The text of a UUID field: the field itself, or a copy that ends with a NUL where the field does
/// not. Valid as long as the field.
class UuidText {
  public:
    explicit UuidText(const char (&field)[protocol::kUuidFieldSize]) : text_(field)
    {
        if (protocol::TextIn(field).size() == sizeof field) {
            std::memcpy(terminated_, field, sizeof field);
            text_ = terminated_;
        }
    }

    UuidText(const UuidText&) = delete;
    UuidText& operator=(const UuidText&) = delete;

    const char* Get() const { return text_; }

  private:
    char terminated_[protocol::kUuidFieldSize + 1] = {};
    const char* text_;
};

/// The length of a value, limited to its area.
inline std::uint32_t ClampedLength(std::uint32_t length)
{
    return std::min(length, static_cast<std::uint32_t>(protocol::kGattValueSize));
}

}  // namespace pelacon
