#include <service/linux/FileDescriptor.h>
#include <tests/service/linux/OnLoop.h>

#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <stdexcept>

namespace pelacon::service::linux_radios::tests {

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class ALoop : public LoopTest {
  protected:
    /// One end to write to, and one that a source reads.
    struct Pipe {
        Pipe()
        {
            std::array<int, 2> ends{};
            EXPECT_EQ(pipe(ends.data()), 0);
            out = FileDescriptor(ends[0]);
            in = FileDescriptor(ends[1]);
        }
        FileDescriptor out;
        FileDescriptor in;
    };

    class PipeSource : public Loop::Source {
      public:
        PipeSource(Loop& loop, int descriptor, std::function<void(char)> got)
            : loop_(loop), descriptor_(descriptor), got_(std::move(got))
        {
            loop_.Add(*this);
        }
        ~PipeSource() override { loop_.Remove(*this); }
        Loop::Interest Wants() override { return {descriptor_, POLLIN, std::nullopt}; }
        void Ready(short) override
        {
            char character = 0;
            EXPECT_EQ(read(descriptor_, &character, 1), 1);
            const auto got = got_;
            got(character);
        }

      private:
        Loop& loop_;
        int descriptor_;
        std::function<void(char)> got_;
    };
};

TEST_F(ALoop, RunsTasksInTheirOrderInItsOwnThread)
{
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) {
        loop.Post([&, i] {
            EXPECT_TRUE(loop.IsInThread());
            order.push_back(i);
        });
    }
    EXPECT_FALSE(loop.IsInThread());
    EXPECT_THAT(Do([&] { return order; }), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(ALoop, RunsTheTasksPostedBeforeItStops)
{
    std::atomic<int> runs{0};
    for (int i = 0; i < 100; ++i) {
        loop.Post([&] { ++runs; });
    }
    loop.Stop();
    EXPECT_EQ(runs, 100);
    EXPECT_FALSE(loop.Post([&] { ++runs; }));
    loop.Stop();
    EXPECT_EQ(runs, 100);
}

TEST_F(ALoop, ReportsExceptionsOfTasksAndGoesOn)
{
    loop.Post([] { throw std::runtime_error("torn"); });
    loop.Post([] { throw 5; });
    Do([] {});
    EXPECT_THAT(complaints.Take(), ElementsAre("torn", "something of an unknown type was thrown"));
}

TEST_F(ALoop, RunsTimersWhenTheyAreDue)
{
    std::promise<std::vector<int>> done;
    std::vector<int> order;
    std::vector<Loop::Timer> timers;
    const auto begin = Loop::Clock::now();
    Do([&] {
        timers.push_back(loop.After(milliseconds(30), [&] {
            order.push_back(3);
            done.set_value(order);
        }));
        timers.push_back(loop.After(milliseconds(10), [&] { order.push_back(1); }));
        timers.push_back(loop.After(milliseconds(20), [&] { order.push_back(2); }));
        timers.push_back(loop.After(milliseconds(15), [&] { order.push_back(-1); }));
        timers.back().Cancel();
        EXPECT_FALSE(timers.back().IsPending());
    });
    auto result = done.get_future();
    ASSERT_EQ(result.wait_for(kPatience), std::future_status::ready);
    EXPECT_THAT(result.get(), ElementsAre(1, 2, 3));
    EXPECT_GE(Loop::Clock::now() - begin, milliseconds(30));
    Do([&] { timers.clear(); });
}

TEST_F(ALoop, RunsATimerAfterTheSourcesThatWereReadyBeforeItWasSet)
{
    const Pipe early;
    const Pipe late;
    std::array<std::unique_ptr<PipeSource>, 2> sources;
    Loop::Timer timer;
    std::string order;
    Do([&] {
        sources[0] =
            std::make_unique<PipeSource>(loop, late.out.Get(), [&](char c) { order += c; });
        sources[1] = std::make_unique<PipeSource>(loop, early.out.Get(), [&](char c) {
            order += c;
            EXPECT_EQ(write(late.in.Get(), "b", 1), 1);
            timer = loop.After(milliseconds(0), [&] { order += 't'; });
        });
        EXPECT_EQ(write(early.in.Get(), "a", 1), 1);
    });
    EXPECT_TRUE(Eventually([&] { return order.size() == 3; }));
    Do([&] {
        EXPECT_EQ(order, "abt");
        sources = {};
        timer.Cancel();
    });
}

TEST_F(ALoop, WatchesADescriptorUntilItsSourceEnds)
{
    const Pipe pipe;
    std::string got;
    auto source = Do([&] {
        return std::make_unique<PipeSource>(loop, pipe.out.Get(), [&](char c) { got += c; });
    });
    ASSERT_EQ(write(pipe.in.Get(), "ab", 2), 2);
    EXPECT_TRUE(Eventually([&] { return got == "ab"; }));
    Do([&] { source.reset(); });
    ASSERT_EQ(write(pipe.in.Get(), "c", 1), 1);
    Do([] {});
    EXPECT_EQ(got, "ab");
}

TEST_F(ALoop, DoesNotCallASourceThatAnotherOneRemoved)
{
    const Pipe first;
    const Pipe second;
    std::array<std::unique_ptr<PipeSource>, 2> sources;
    int calls = 0;
    Do([&] {
        const auto endBoth = [&](char) {
            ++calls;
            sources[0].reset();
            sources[1].reset();
        };
        sources[0] = std::make_unique<PipeSource>(loop, first.out.Get(), endBoth);
        sources[1] = std::make_unique<PipeSource>(loop, second.out.Get(), endBoth);
        EXPECT_EQ(write(first.in.Get(), "x", 1), 1);
        EXPECT_EQ(write(second.in.Get(), "x", 1), 1);
    });
    EXPECT_TRUE(Eventually([&] { return calls > 0; }));
    Do([] {});
    EXPECT_EQ(calls, 1);
}

TEST_F(ALoop, SleepsWhileThereIsNothingToDo)
{
    Do([] {});
    const std::uint64_t before = loop.Turns();
    std::this_thread::sleep_for(milliseconds(300));  // the time that is measured
    EXPECT_LE(loop.Turns() - before, 1U);
}

TEST_F(ALoop, TakesTasksFromManyThreads)
{
    constexpr int kThreads = 4;
    constexpr int kTasks = 2000;
    int runs = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int task = 0; task < kTasks; ++task) {
                loop.Post([&] { ++runs; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Do([&] { return runs; }), kThreads * kTasks);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
