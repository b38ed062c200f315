// The fixtures of the library's unit tests.
#pragma once

#include <tests/support/Bytes.h>
#include <tests/support/Channel.h>
#include <tests/support/Copies.h>
#include <tests/support/Events.h>
#include <tests/support/Journal.h>
#include <tests/support/LogLines.h>
#include <tests/support/Processes.h>
#include <tests/support/Threads.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <memory>

namespace pelacon::test {

/// The library before its first start, with all stand-ins reset:
///
///     TEST_F(StoppedSdkTest, RefusesRequests) { EXPECT_EQ(BleManager::BtEnable(), -1); }
class StoppedSdkTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// Removes all records so far: lines, events, journal and messages.
    static void ForgetWhatHappened();

    Channel& channel = Channel::Get();
};

/// The started library; the records of the start are already removed:
///
///     TEST_F(SdkTest, BtEnable)
///     {
///         channel.Reply(0xD7005C, Bytes().I32(0));
///         EXPECT_EQ(BleManager::BtEnable(), 0);
///         EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD7005C, {}, 10000));
///         EXPECT_THAT(LogLines::All(), ElementsAre(Start("BleManager::BtEnable"),
///                                                  End("BleManager::BtEnable")));
///     }
class SdkTest : public StoppedSdkTest {
  protected:
    void SetUp() override;
    void TearDown() override;
};

// The library's registries live as long as the process. ctest runs each test in its own process;
// for tests to run in one process too, each uses ids that no other test used, and tables that
// outlive the test.

/// An id that is new in this process.
std::int32_t FreshId();

/// An object that lives until the process ends.
template <typename Type>
Type& Lasting(Type initial = {})
{
    static auto& objects = *new std::deque<Type>;
    return objects.emplace_back(std::move(initial));
}

}  // namespace pelacon::test
