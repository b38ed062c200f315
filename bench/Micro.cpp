// The cost of single steps of the library, within one process.
#include <IPCMessage/Frame.h>
#include <LogHelper/KvLogger.h>
#include <sdk/diag/Log.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace {

using namespace pelacon;

/// Each operation writes two lines; without a sink their cost should be negligible.
void LogLineWithoutSink(benchmark::State& state)
{
    std::uint32_t value = 0;
    for (auto _ : state) {
        diag::Log(kLogTrace, "BleManager::BtEnable", "value:", ++value);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(LogLineWithoutSink);

void FrameWritten(benchmark::State& state)
{
    std::vector<std::uint8_t> payload(static_cast<std::size_t>(state.range(0)));
    TagIPCMessageItem item;
    item.message = payload.data();
    item.length = static_cast<std::uint32_t>(payload.size());
    ipc::FrameBuffer buffer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(buffer.Write({.kind = ipc::FrameKind::kRequest}, item).data());
    }
}
BENCHMARK(FrameWritten)->Arg(64)->Arg(1108);

/// Reading a notification: check it and make an item, with zeros after its payload.
void FrameRead(benchmark::State& state)
{
    std::vector<std::uint8_t> payload(static_cast<std::size_t>(state.range(0)));
    TagIPCMessageItem item;
    item.message = payload.data();
    item.length = static_cast<std::uint32_t>(payload.size());
    ipc::FrameBuffer buffer;
    const std::size_t size = buffer.Write({.kind = ipc::FrameKind::kNotification}, item).size();
    for (auto _ : state) {
        const auto header = buffer.Read(size);
        TagIPCMessageItem read;
        buffer.Item(*header, read);
        benchmark::DoNotOptimize(read.message);
    }
}
BENCHMARK(FrameRead)->Arg(72)->Arg(1112);

}  // namespace

BENCHMARK_MAIN();
