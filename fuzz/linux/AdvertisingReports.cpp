// What a controller reports of advertisements: packets of a raw HCI socket, one after the other,
// each preceded by two bytes with its length.
#include <service/linux/bluetooth/AdvertisingData.h>
#include <service/linux/bluetooth/AdvertisingReport.h>

#include <fuzz/Input.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pelacon;
    using namespace pelacon::service::linux_radios::bluetooth;
    ReportAssembler assembler;
    fuzz::Input input(data, size);
    while (!input.IsEmpty()) {
        for (AdvertisingReport& report : DecodeAdvertisingReports(input.SomeBytes())) {
            if (!assembler.Join(report)) {
                continue;
            }
            fuzz::Require(report.data.size() <= ReportAssembler::kMostData);
            AdvertisingFields fields;
            ReadStructures(report.data, fields);
            const AdvertisingPair pair = WriteStructures(fields, 31);
            fuzz::Require(pair.data.size() <= 31 && pair.scanResponse.size() <= 31);
            fuzz::Require(WholeStructures(pair.data, 31) == pair.data.size());
        }
    }
    return 0;
}
