// The record of every request, reply and notification.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// One message between the SDK and the message client. Its layout is a fixed contract between the
/// two.
struct TagIPCMessageItem {
    std::string name;                  ///< empty in everything that the SDK sends
    std::int32_t targetModuleId = -1;  ///< the receiver
    std::int32_t sourceModuleId = -1;  ///< the sender
    std::int32_t msgId = -1;           ///< the operation or notification
    std::int32_t reservedA = -1;
    std::int32_t reservedB = -1;
    std::int32_t reservedC = 0;
    std::uint32_t length = 0;  ///< bytes at message
    std::uint32_t gap = 0;
    std::uint8_t* message = nullptr;  ///< the payload, or null if there is none
    bool flag = false;
    std::array<std::uint8_t, 3> padding{};
    std::uint32_t processId = 0;  ///< the sender's process, in a request
};

static_assert(sizeof(std::string) == 32);
static_assert(sizeof(TagIPCMessageItem) == 80);
static_assert(offsetof(TagIPCMessageItem, name) == 0);
static_assert(offsetof(TagIPCMessageItem, targetModuleId) == 32);
static_assert(offsetof(TagIPCMessageItem, sourceModuleId) == 36);
static_assert(offsetof(TagIPCMessageItem, msgId) == 40);
static_assert(offsetof(TagIPCMessageItem, reservedA) == 44);
static_assert(offsetof(TagIPCMessageItem, reservedB) == 48);
static_assert(offsetof(TagIPCMessageItem, reservedC) == 52);
static_assert(offsetof(TagIPCMessageItem, length) == 56);
static_assert(offsetof(TagIPCMessageItem, gap) == 60);
static_assert(offsetof(TagIPCMessageItem, message) == 64);
static_assert(offsetof(TagIPCMessageItem, flag) == 72);
static_assert(offsetof(TagIPCMessageItem, padding) == 73);
static_assert(offsetof(TagIPCMessageItem, processId) == 76);
