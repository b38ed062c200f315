// What all operations of the two GATT families have in common, as tests that run for each of them.
#pragma once

#include <PelaconSDK/BleStatus.h>
#include <tests/support/SdkTest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::test {

/// One operation: how it is called, what it sends, and what it does with an answer.
struct GattOperation {
    std::string className = "BleGattClient";
    std::string name;
    std::int32_t id;
    ByteVector payload = {};
    std::function<BleStatusC()> call;
    std::function<ByteVector(std::int32_t status)> reply;
    std::vector<LogLine> linesBeforeRequest = {};  ///< without the function's name
    std::vector<LogLine> linesAfterReply = {};     ///< the same, whatever the status
    std::optional<Event> event = {};               ///< raised by a missing answer
    std::vector<LogLine> eventLines = {};

    std::string Function() const { return className + "::" + name; }
};

inline void PrintTo(const GattOperation& operation, std::ostream* out)
{
    *out << operation.Function();
}

inline std::string NameOf(const ::testing::TestParamInfo<GattOperation>& info)
{
    return info.param.name;
}

class GattOperationTest : public SdkTest, public ::testing::WithParamInterface<GattOperation> {};
class StoppedGattOperationTest : public StoppedSdkTest,
                                 public ::testing::WithParamInterface<GattOperation> {};

/// Calls `second` while a request of its class waits for its answer, and expects that `second`
/// sends its request, the journal's entry `sent`, only after that answer.
void ExpectWaits(Channel& channel, const std::string& className,
                 const std::function<void()>& second, const std::string& sent);

}  // namespace pelacon::test
