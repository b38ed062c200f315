// Reading advertising data: the cost per structure.
#include <PelaconSDK/BleScanner.h>
#include <bench/Bare.h>
#include <bench/scan/Scenarios.h>
#include <protocol/AdStructure.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace pelacon::bench {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kStructures = 7;

/// Seven structures in 31 bytes; the search is for the last one, the service data.
Bytes SevenStructures()
{
    Bytes bytes;
    for (std::uint8_t type = 0x30; type < 0x30 + kStructures - 1; ++type) {
        protocol::AppendAdStructure(bytes, type, Bytes(2, type));
    }
    protocol::AppendAdStructure(bytes, protocol::kAdServiceData16, Bytes{0x0F, 0x18, 1, 2, 3});
    return bytes;
}

/// Nanoseconds per structure.
template <typename Read>
double Cost(int reads, const Read& read)
{
    std::uint64_t sum = 0;
    const std::int64_t begin = Now();
    for (int i = 0; i < reads; ++i) {
        sum += read();
    }
    const double cost = static_cast<double>(Now() - begin) / reads / kStructures;
    if (sum == 0) {
        throw std::runtime_error("Nothing was found.");
    }
    return cost;
}

class Parsing : public Scenario {
  public:
    std::string Heading() const override { return "Reading advertising data of 7 structures"; }

    void Round(const Effort& effort, Turn /*turn*/) override
    {
        const Bytes bytes = SevenStructures();
        const auto size = static_cast<std::uint32_t>(bytes.size());
        std::uint8_t* data = nullptr;
        std::uint32_t length = 0;
        byType_.Add(Cost(effort.calls * 20, [&] {
            BleGetAdvDataByType(bytes.data(), size, protocol::kAdServiceData16, &data, &length);
            return length;
        }));
        serviceData_.Add(Cost(effort.calls * 20, [&] {
            BleGetServiceDataByUuid(bytes.data(), size, 0x180F, &data, &length);
            return length;
        }));
    }

    std::vector<Row> Rows() const override { return {byType_, serviceData_}; }

  private:
    Row byType_{"BleGetAdvDataByType, a structure", Unit::kNanoseconds, AtMost(20)};
    Row serviceData_{"BleGetServiceDataByUuid, a structure", Unit::kNanoseconds, AtMost(20)};
};

}  // namespace

std::unique_ptr<Scenario> MakeParsing()
{
    return std::make_unique<Parsing>();
}

}  // namespace pelacon::bench
