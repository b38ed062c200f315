// Scan listeners whose tables note how they are called.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <tests/support/SdkTest.h>

#include <cstdint>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

inline ScanCallbacks& Callbacks()
{
    return Registry<ScanCallbacks>();
}

inline ByteVector Raw(const BleScanResultC& result)
{
    ByteVector bytes(sizeof result);
    std::memcpy(bytes.data(), &result, sizeof result);
    return bytes;
}

/// One call of a slot.
struct ScanCall {
    int table;
    std::int32_t listenerId;
    std::int32_t status;  ///< zero for results
    ByteVector result;    ///< empty for statuses
    std::thread::id thread;
};

struct ScanCalls {
    std::mutex mutex;
    std::vector<ScanCall> calls;
};

inline ScanCalls& TheScanCalls()
{
    static ScanCalls& calls = *new ScanCalls;
    return calls;
}

inline void Note(ScanCall call)
{
    const std::lock_guard lock(TheScanCalls().mutex);
    call.thread = std::this_thread::get_id();
    TheScanCalls().calls.push_back(std::move(call));
}

template <int Table>
BleScanCallbacksC Recording()
{
    return {[](std::int32_t id, std::int32_t status) {
                Note({Table, id, status, {}, {}});
            },
            [](std::int32_t id, BleScanResultC result) {
                Note({Table, id, 0, Raw(result), {}});
            }};
}

class ScanNotifications : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        TheScanCalls().calls.clear();
        for (const std::int32_t request : {0xD70065, 0xD70066, 0xD70068}) {
            channel.Reply(request, Bytes().I32(0));
        }
    }

    void TearDown() override
    {
        Threads::WaitForAll();
        for (const std::int32_t id : ids_) {
            Callbacks().ScanStop(id);
            Callbacks().RemoveScanCb(id);
        }
        SdkTest::TearDown();
    }

    /// A listener with this table, or with none.
    std::int32_t Register(BleScanCallbacksC* table)
    {
        const std::int32_t id = FreshId();
        RegisterAs(id, table);
        return id;
    }
    void RegisterAs(std::int32_t id, BleScanCallbacksC* table)
    {
        int given = 0;
        channel.Reply(0xD70064, Bytes().I32(id).I32(0));
        EXPECT_EQ(BleScanner::BleScanRegisterCallbacks(table, &given), 0);
        EXPECT_EQ(given, id);
        ids_.push_back(id);
    }
    template <int Table>
    std::int32_t RegisterRecording()
    {
        return Register(&Lasting<BleScanCallbacksC>(Recording<Table>()));
    }
    std::int32_t Scanning(std::int32_t id)
    {
        EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanBalanced), 0);
        return id;
    }

    void Status(std::int32_t id, std::int32_t status)
    {
        channel.Deliver(0xD8006A, Bytes().I32(id).I32(status));
    }
    /// A result whose 64 bytes begin with this one and count up; the 8 before them have no effect.
    ByteVector Result(std::uint8_t first)
    {
        ByteVector bytes(64);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<std::uint8_t>(first + i);
        }
        channel.Deliver(0xD8006B, Bytes().Fill(8, 0xEE).Raw(bytes));
        return bytes;
    }

    /// All calls so far, when the threads that make them have ended.
    static std::vector<ScanCall> Delivered()
    {
        Threads::WaitForAll();
        const std::lock_guard lock(TheScanCalls().mutex);
        return TheScanCalls().calls;
    }
    static std::vector<std::pair<int, std::int32_t>> DeliveredTo()
    {
        std::vector<std::pair<int, std::int32_t>> to;
        for (const ScanCall& call : Delivered()) {
            to.emplace_back(call.table, call.listenerId);
        }
        return to;
    }

  private:
    std::vector<std::int32_t> ids_;
};

}  // namespace pelacon::test
