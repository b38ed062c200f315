// One operation of every class, and one registration of every kind of callback.
#pragma once

#include <tests/support/Bytes.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <vector>

namespace pelacon::test {

/// An operation, and a registration of the same family with the notification that its callback is
/// called for.
struct Family {
    const char* name;
    std::int32_t request;
    std::function<int()> call;
    std::int32_t registration;
    ByteVector agreement;  ///< the service's, to the registration
    std::function<void()> registerTable;
    std::int32_t notification;
};
void PrintTo(const Family& family, std::ostream* out);

const std::vector<Family>& Families();

/// Called by every callback.
extern std::function<void()> inCallback;

/// Scripts the answers of a service that accepts every request.
void ScriptAnswers(const Family& family);

/// Delivers the notification, all zeros.
void Notify(const Family& family);

}  // namespace pelacon::test
