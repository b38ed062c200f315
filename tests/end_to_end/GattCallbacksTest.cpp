// What callbacks of both GATT roles may do, and for how long.
#include <tests/end_to_end/GattFixture.h>

#include <atomic>
#include <future>
#include <thread>
#include <utility>

namespace pelacon::test {

namespace {

TEST_F(Gatt, CallbacksMayCallOperations)
{
    Serve();
    std::atomic<int> result{-100};
    whenState = [&](const State& state) {
        if (state.state == kBleGattConnected) {
            int sum = BleGattClient::BleGattClientSearchServices(state.clientId);
            sum += BleGattClient::BleGattClientGetService(state.clientId, kService);
            sum += Subscribe(state.clientId, kRate);
            sum += Write(state.clientId, kControl, {1});
            result = sum;
        }
    };
    whenPeer = [&](const PeerEvent& event) {
        if (event.what == "write") {
            EXPECT_EQ(Publish(event.data, event.peer), 0);
        }
    };
    const std::int32_t id = Register();
    StartToConnect(id, kThisMachine);
    EXPECT_EQ(Delivered<Notified>().Next().data, ByteVector{1});
    EXPECT_EQ(result, 0);
}

TEST_F(Gatt, ACallbackMayConnectAgain)
{
    std::atomic<int> losses{0};
    whenState = [&](const State& state) {
        if (state.state == kBleGattDisconnected && ++losses < 3) {
            StartToConnect(state.clientId, kLost);
        }
    };
    StartToConnect(Register(), kLost);
    EXPECT_TRUE(Eventually([&] { return losses == 3; }));
}

/// Another thread registers and adds while callbacks, which run with the registry locked, call
/// operations.
TEST_F(Gatt, CallbacksMayCallOperationsWhileOthersRegister)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    Subscribe(id, kRate);
    whenPeer = [&](const PeerEvent& event) {
        if (event.what == "read") {
            EXPECT_EQ(Publish({7}, event.peer), 0);
        }
    };
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done) {
            std::int32_t otherServer = 0;
            EXPECT_EQ(BleGattServer::BleGattServerRegister(&serverTable, &otherServer), 0);
            EXPECT_EQ(BleGattServer::BleGattServerUnRegister(otherServer), 0);
        }
    });
    for (int i = 0; i < 100; ++i) {
        Read(id, kPlace);
        EXPECT_EQ(Delivered<Notified>().Next().data, ByteVector{7});
    }
    done = true;
    other.join();
}

/// Publishing does not wait for a subscriber that takes values slowly, and nothing is lost.
TEST_F(Gatt, ASlowReaderReceivesAllValuesInOrder)
{
    Serve();
    const std::int32_t id = Connected(kThisMachine);
    Subscribe(id, kRate);
    std::promise<void> inside;
    std::promise<void> leave;
    whenPeer = [&, first = true](const PeerEvent& event) mutable {
        if (event.what == "sent" && std::exchange(first, false)) {
            inside.set_value();
            EXPECT_EQ(leave.get_future().wait_for(kPatience), std::future_status::ready);
        }
    };
    EXPECT_EQ(Publish({0}), 0);
    ASSERT_EQ(inside.get_future().wait_for(kPatience), std::future_status::ready);
    for (std::uint8_t i = 1; i < 200; ++i) {
        ASSERT_EQ(Publish({i}), 0);
    }
    leave.set_value();
    for (std::uint8_t i = 0; i < 200; ++i) {
        ASSERT_EQ(Delivered<Notified>().Next().data, ByteVector{i});
    }
}

}  // namespace

}  // namespace pelacon::test
