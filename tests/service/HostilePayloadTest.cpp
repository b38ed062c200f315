// Payloads that a client may send, but that the library never sends.
#include <protocol/Catalogue.h>
#include <service/base/Log.h>
#include <service/base/Random.h>
#include <service/core/Core.h>
#include <service/simulation/Simulation.h>
#include <tests/service/RecordingTransport.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace pelacon::service::tests {
namespace {

/// A whole service without a pipe. Payloads are in storage of exactly their length, so that
/// AddressSanitizer reports every read beyond them.
class HostilePayloadTest : public testing::Test {
  protected:
    HostilePayloadTest() : core_(MakeSettings())
    {
        log::wantedLevel = LogLevel::kError;
        core_.Start(transport_, folder_.File("ids"));
        core_.ClientArrived({1, 1, false});
    }
    ~HostilePayloadTest() override { core_.Stop(); }

    /// The built-in world without its delays.
    static Settings MakeSettings()
    {
        using std::chrono_literals::operator""ms;
        simulation::WorldFile world =
            simulation::ReadWorldFile(simulation::DefaultWorldText(), "default-world.json");
        world.wifi.switchDelay = 0ms;
        for (simulation::GroupConfig* group : {&world.group, &world.softAp}) {
            group->creation.delay = 0ms;
            group->firstCreations.clear();
            group->removeDelay = 0ms;
        }
        Settings settings;
        settings.makeRadios = simulation::SimulationOf(std::move(world));
        return settings;
    }

    IPCReply Send(const protocol::CatalogueEntry& entry, const Bytes& payload)
    {
        const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[payload.size()]);
        std::copy(payload.begin(), payload.end(), exact.get());
        TagIPCMessageItem item;
        item.msgId = entry.id;
        item.length = static_cast<std::uint32_t>(payload.size());
        item.message = payload.empty() ? nullptr : exact.get();
        if (entry.kind == protocol::CatalogueEntry::Kind::kPosted) {
            core_.Posted(1, item);
            return {};
        }
        return core_.Request(1, item);
    }

    /// All zeros, all ones and random bytes, in turn.
    Bytes NextPayload(std::size_t length)
    {
        const int turn = turn_++ % 3;
        Bytes bytes(length, turn == 0 ? 0 : 0xFF);
        if (turn == 2) {
            std::generate(bytes.begin(), bytes.end(),
                          [this] { return static_cast<std::uint8_t>(random_.Next()); });
        }
        return bytes;
    }

    test::TemporaryFolder folder_;
    RecordingTransport transport_;
    Random random_{20};
    int turn_ = 0;
    Core core_;
};

TEST_F(HostilePayloadTest, RequestsOfAnyLengthAreAnswered)
{
    for (const protocol::CatalogueEntry& entry : protocol::kCatalogue) {
        if (!entry.IsSentToService()) {
            continue;
        }
        const std::size_t size = entry.size;
        for (const std::size_t length :
             std::set<std::size_t>{0, 1, 3, size / 2, size - (size > 0 ? 1 : 0), size, size + 1,
                                   2 * size + 7, 2048, 64 * 1024}) {
            const Bytes payload = NextPayload(length);
            const IPCReply reply = Send(entry, payload);
            if (reply.kind == IPCReplyKind::kPayload && entry.replySize != 0 &&
                protocol::FindRequest(entry.id, length) == &entry) {
                EXPECT_EQ(reply.payload.size(), entry.replySize) << entry.name;
            }
        }
    }
}

TEST_F(HostilePayloadTest, EveryOperationOfTheContractIsServed)
{
    for (const protocol::CatalogueEntry& entry : protocol::kCatalogue) {
        if (entry.IsSentToService()) {
            Send(entry, Bytes(entry.size));
            const auto status = nlohmann::json::parse(core_.Control("status"));
            ASSERT_EQ(status["counters"]["unknownRequests"], 0) << entry.name;
        }
    }
}

}  // namespace
}  // namespace pelacon::service::tests
