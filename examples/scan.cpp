// Scanning: what is in the air, printed for five seconds.
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
int heard = 0;

std::string NameIn(const BleScanResultC& result)
{
    constexpr std::uint8_t kCompleteName = 0x09;
    std::uint8_t* name = nullptr;
    std::uint32_t length = 0;
    // A length beyond the data (0xFFFFFFFF) is that of a structure which says that it is empty.
    if (BleGetAdvDataByType(result.data, result.dataLen, kCompleteName, &name, &length) !=
            kBleStatusSuccess ||
        length > sizeof result.data) {
        return {};
    }
    std::string text(name, name + length);
    // It is a stranger's: nothing in it may move the cursor.
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; },
        '?');
    return text;
}

// Runs on a thread of its own for each result, several at once.
void OnScanResult(int32_t /*listenerId*/, BleScanResultC result)
{
    const std::string name = NameIn(result);
    const std::lock_guard lock(mutex);
    ++heard;
    std::printf("  %012llX  %4d dBm  %s\n", static_cast<unsigned long long>(result.address),
                result.rssi, name.c_str());
}

// Runs on the library's receive thread: note what happened, and leave.
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
        std::fputs("The service does not answer: is PelaconService running?\n", stderr);
        return 1;
    }
    const BleStatusC status = BleScanner::StartBleScan(listener, kBleScanBalanced);
    if (status != kBleStatusSuccess) {
        std::fprintf(stderr, "Scanning is refused (%d): is Bluetooth on?\n", status);
        return 1;
    }

    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(5), [] { return stopped; });
    std::puts(stopped ? "  Bluetooth was switched off." : "  That was it.");
    const bool any = heard > 0;
    lock.unlock();

    BleScanner::StopBleScan(listener);
    BleScanner::BleScanUnRegisterCallbacks(listener);
    PelaconSvcStop();
    return any ? 0 : 1;
}
