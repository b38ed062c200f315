// The service as the library meets it in a fuzz target: IPCMessageClient, implemented by the
// target.
#pragma once

#include <cstdint>
#include <vector>

namespace pelacon::fuzz {

/// What every request is answered with from now on, in storage as the message client gives it: of
/// the size that its header promises, zero after the payload. Nothing: replies without payload.
void AnswerWith(std::vector<std::uint8_t> payload);
void AnswerWithNothing();

/// Delivers a notification to the library's receiver, in storage as the message client gives it.
/// Does nothing if the library has registered no receiver for it.
void Deliver(std::int32_t messageId, const std::vector<std::uint8_t>& payload);

}  // namespace pelacon::fuzz
