// A client of the model test. Each line of its input is a step, "THREAD WORD ARGUMENT", which the
// thread takes at once; when it is done it writes "result THREAD STATUS VALUE". The line "tables"
// is answered by "tables OWN TABLE...": the last change that each table was called for, its own
// one, which is always registered, first. Writes "wrong" and a sentence for what must never be.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/model/Model.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test::model {

namespace {

void WriteLine(const std::string& line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

/// A table that a thread registers, or the client's own.
struct Table {
    std::atomic<bool> mayBeCalled{false};
    std::atomic<std::int32_t> last{0};
    BtManagerCallbacksC callbacks{};
};

constexpr std::size_t kOwnTable = kThreads;
std::array<Table, kThreads + 1> tables;

template <std::size_t Index>
void OnChange(std::int32_t change)
{
    if (!tables[Index].mayBeCalled) {
        WriteLine("wrong a table was called after it had been unregistered");
    }
    tables[Index].last = change;
}

template <std::size_t... Indices>
void FillTables(std::index_sequence<Indices...> /*all*/)
{
    ((tables[Indices].callbacks.onStateChanged = &OnChange<Indices>), ...);
}

int Register(Table& table)
{
    table.mayBeCalled = true;
    const int status = RegisterBtStateChangeCallbacks(&table.callbacks);
    if (status != kBleStatusSuccess) {
        table.mayBeCalled = false;
    }
    return status;
}

int Unregister(Table& table)
{
    const int status = UnRegisterBtStateChangeCallbacks(&table.callbacks);
    table.mayBeCalled = false;
    return status;
}

class Worker {
  public:
    explicit Worker(std::size_t number) : number_(number), thread_([this] { Run(); }) {}

    ~Worker()
    {
        Put({.thread = kEnd});
        thread_.join();
    }

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Put(const Step& step)
    {
        const std::lock_guard lock(mutex_);
        steps_.push_back(step);
        changed_.notify_one();
    }

  private:
    static constexpr int kEnd = -1;

    Step Next()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !steps_.empty(); });
        const Step step = steps_.front();
        steps_.pop_front();
        return step;
    }

    void Run()
    {
        for (Step step = Next(); step.thread != kEnd; step = Next()) {
            std::string value;
            const int status = Do(step, value);
            std::ostringstream line;
            line << "result " << number_ << ' ' << status << ' ' << value;
            WriteLine(line.str());
        }
    }

    int Do(const Step& step, std::string& value)
    {
        switch (step.operation) {
            case Operation::kGetFrequency:
                return GetFrequency(step.argument, value);
            case Operation::kGetName:
                return GetName(value);
            case Operation::kSetName: {
                const std::string name = NameOf(step.argument);
                return SetBtName(name.data(), static_cast<std::int32_t>(name.size()));
            }
            case Operation::kRegisterTable:
                return tables[number_].mayBeCalled ? Result::kSkipped : Register(tables[number_]);
            case Operation::kUnregisterTable:
                return Unregister(tables[number_]);
            case Operation::kAddListener:
                return AddListener(value);
            case Operation::kUseListener:
                return RemoveScanFilter(listener_);
            case Operation::kRemoveListener:
                return BleScanUnRegisterCallbacks(std::exchange(listener_, kNoListener));
            case Operation::kStopAndStart:
                return PelaconSvcStop() + PelaconSvcStart();
        }
        return -1;
    }

    static int GetFrequency(int channel, std::string& value)
    {
        const std::int32_t frequency = WifiSystemGetFrequencyFromChannel(channel);
        value = std::to_string(frequency);
        constexpr int kRefusal = 1;  // an injected status is the value
        return frequency > kRefusal ? 0 : -1;
    }

    static int GetName(std::string& value)
    {
        std::array<std::uint8_t, 64> bytes{};
        auto size = static_cast<std::int32_t>(bytes.size());
        const int status = GetBtName(bytes.data(), &size);
        value.assign(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
        return status;
    }

    int AddListener(std::string& value)
    {
        static BleScanCallbacksC none{};
        if (listener_ != kNoListener) {
            return Result::kSkipped;
        }
        const int status = BleScanRegisterCallbacks(&none, &listener_);
        value = std::to_string(listener_);
        return status;
    }

    static constexpr int kNoListener = 0;  // the service gives out larger ids

    const std::size_t number_;
    int listener_ = kNoListener;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Step> steps_;
    std::thread thread_;
};

void WriteTables()
{
    std::ostringstream line;
    line << "tables " << tables[kOwnTable].last;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        line << ' ' << tables[thread].last;
    }
    WriteLine(line.str());
}

int Main()
{
    FillTables(std::make_index_sequence<kThreads + 1>());
    if (PelaconSvcStart() != 0 || Register(tables[kOwnTable]) != 0) {
        WriteLine("wrong the client cannot start");
        return 1;
    }
    {
        std::deque<Worker> workers;
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            workers.emplace_back(thread);
        }
        WriteLine("ready");
        for (std::string line; std::getline(std::cin, line) && line != "end";) {
            std::istringstream words(line);
            std::string word;
            Step step;
            if (line == "tables") {
                WriteTables();
            } else if (words >> step.thread >> word >> step.argument) {
                step.operation = OperationOf(word).value();
                workers.at(static_cast<std::size_t>(step.thread)).Put(step);
            }
        }
    }
    PelaconSvcStop();
    return 0;
}

}  // namespace

}  // namespace pelacon::test::model

int main()
{
    return pelacon::test::model::Main();
}
