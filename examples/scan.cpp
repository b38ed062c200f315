// Scanning: prints the devices in range for five seconds.
#include <PelaconSDK/PelaconSDK.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>

namespace {

std::mutex mutex;
std::condition_variable changed;
bool stopped = false;
int results = 0;

std::string NameIn(const BleScanResultC& result)
{
    constexpr std::uint8_t kCompleteName = 0x09;
    std::uint8_t* name = nullptr;
    std::uint32_t length = 0;
    // A structure of length 0 is reported with a length beyond the data (0xFFFFFFFF).
    if (BleGetAdvDataByType(result.data, result.dataLen, kCompleteName, &name, &length) !=
            kBleStatusSuccess ||
        length > sizeof result.data) {
        return {};
    }
    std::string text(name, name + length);
    // The name comes from another device: replace control characters, which could control the
    // terminal.
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; },
        '?');
    return text;
}

// Each call has a thread of its own; several may run at once.
void OnScanResult(int32_t /*listenerId*/, BleScanResultC result)
{
    const std::string name = NameIn(result);
    const std::lock_guard lock(mutex);
    ++results;
    std::printf("  %012llX  %4d dBm  %s\n", static_cast<unsigned long long>(result.address),
                result.rssi, name.c_str());
}

// Called on the library's receive thread: record the event and return at once.
void OnScanStatus(int32_t /*listenerId*/, int32_t status)
{
    if (status == kBleScanStoppedAdapterOff) {
        const std::lock_guard lock(mutex);
        stopped = true;
        changed.notify_all();
    }
}

}  // namespace

int main()
{
    PelaconSvcStart();
    static BleScanCallbacksC callbacks{&OnScanStatus, &OnScanResult};
    int listener = 0;
    if (BleScanner::BleScanRegisterCallbacks(&callbacks, &listener) != kBleStatusSuccess) {
        std::fputs("No answer from the service: is PelaconService running?\n", stderr);
        return 1;
    }
    const BleStatusC status = BleScanner::StartBleScan(listener, kBleScanBalanced);
    if (status != kBleStatusSuccess) {
        std::fprintf(stderr, "Scanning was refused (%d): is Bluetooth on?\n", status);
        return 1;
    }

    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(5), [] { return stopped; });
    std::puts(stopped ? "  Bluetooth was switched off." : "  Done.");
    const bool any = results > 0;
    lock.unlock();

    BleScanner::StopBleScan(listener);
    BleScanner::BleScanUnRegisterCallbacks(listener);
    PelaconSvcStop();
    return any ? 0 : 1;
}
