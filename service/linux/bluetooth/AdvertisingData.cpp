#include <service/linux/ByteReader.h>
#include <service/linux/bluetooth/AdvertisingData.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

using Bytes = AdvertisingFields::Bytes;
using View = std::span<const std::uint8_t>;

/// The types of structures that have fields of their own.
enum StructureType : std::uint8_t {
    kFlags = 0x01,
    kServices16Some = 0x02,
    kServices16 = 0x03,
    kServices32Some = 0x04,
    kServices32 = 0x05,
    kServices128Some = 0x06,
    kServices128 = 0x07,
    kShortName = 0x08,
    kName = 0x09,
    kTxPower = 0x0A,
    kSolicited16 = 0x14,
    kSolicited128 = 0x15,
    kServiceData16 = 0x16,
    kAppearance = 0x19,
    kSolicited32 = 0x1F,
    kServiceData32 = 0x20,
    kServiceData128 = 0x21,
    kManufacturer = 0xFF,
};

constexpr std::size_t kLongUuid = 16;

/// A UUID of 2, 4 or 16 bytes, the last byte first, as it is sent.
Uuid UuidOf(View bytes)
{
    if (bytes.size() == kLongUuid) {
        Uuid uuid;
        std::reverse_copy(bytes.begin(), bytes.end(), uuid.bytes.begin());
        return uuid;
    }
    Uuid uuid = protocol::kBluetoothBaseUuid;
    std::reverse_copy(bytes.begin(), bytes.end(),
                      uuid.bytes.begin() + static_cast<std::ptrdiff_t>(4 - bytes.size()));
    return uuid;
}

/// The bytes of a UUID as they are sent, in the shortest form.
Bytes BytesOf(const Uuid& uuid)
{
    const bool isLong = !std::equal(uuid.bytes.begin() + 4, uuid.bytes.end(),
                                    protocol::kBluetoothBaseUuid.bytes.begin() + 4);
    if (isLong) {
        return {uuid.bytes.rbegin(), uuid.bytes.rend()};
    }
    const bool is16Bit = uuid.bytes[0] == 0 && uuid.bytes[1] == 0;
    Bytes bytes(uuid.bytes.begin() + (is16Bit ? 2 : 0), uuid.bytes.begin() + 4);
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

void AddUuids(std::vector<Uuid>& uuids, View bytes, std::size_t size)
{
    for (; bytes.size() >= size; bytes = bytes.subspan(size)) {
        const Uuid uuid = UuidOf(bytes.first(size));
        if (std::find(uuids.begin(), uuids.end(), uuid) == uuids.end()) {
            uuids.push_back(uuid);
        }
    }
}

void AddServiceData(AdvertisingFields& fields, View bytes, std::size_t size)
{
    if (bytes.size() >= size) {
        const View data = bytes.subspan(size);
        fields.serviceData.insert_or_assign(UuidOf(bytes.first(size)),
                                            Bytes(data.begin(), data.end()));
    }
}

template <typename Number>
void SetField(std::optional<Number>& field, Number number, const ByteReader& reader)
{
    if (!reader.IsBroken()) {
        field = number;
    }
}

void ReadOne(std::uint8_t type, View bytes, AdvertisingFields& fields)
{
    ByteReader reader(bytes);
    switch (type) {
        case kFlags:
            SetField(fields.flags, reader.Take<std::uint8_t>(), reader);
            break;
        case kServices16Some:
        case kServices16:
            AddUuids(fields.services, bytes, 2);
            break;
        case kServices32Some:
        case kServices32:
            AddUuids(fields.services, bytes, 4);
            break;
        case kServices128Some:
        case kServices128:
            AddUuids(fields.services, bytes, kLongUuid);
            break;
        case kShortName:
        case kName:
            fields.name.assign(bytes.begin(), bytes.end());
            break;
        case kTxPower:
            SetField(fields.txPower, static_cast<std::int8_t>(reader.Take<std::uint8_t>()), reader);
            break;
        case kSolicited16:
            AddUuids(fields.solicitedServices, bytes, 2);
            break;
        case kSolicited32:
            AddUuids(fields.solicitedServices, bytes, 4);
            break;
        case kSolicited128:
            AddUuids(fields.solicitedServices, bytes, kLongUuid);
            break;
        case kServiceData16:
            AddServiceData(fields, bytes, 2);
            break;
        case kServiceData32:
            AddServiceData(fields, bytes, 4);
            break;
        case kServiceData128:
            AddServiceData(fields, bytes, kLongUuid);
            break;
        case kAppearance:
            SetField(fields.appearance, reader.Take<std::uint16_t>(), reader);
            break;
        case kManufacturer: {
            const auto company = reader.Take<std::uint16_t>();
            if (!reader.IsBroken()) {
                fields.manufacturerData.insert_or_assign(
                    company, Bytes(reader.Rest().begin(), reader.Rest().end()));
            }
            break;
        }
        default:
            fields.others.insert_or_assign(type, Bytes(bytes.begin(), bytes.end()));
    }
}

/// The next structure, with its length and type; empty if there is no whole one.
View Next(View data)
{
    if (data.size() < 2 || data[0] == 0 || data[0] >= data.size()) {
        return {};
    }
    return data.first(std::size_t{data[0]} + 1);
}

/// Puts structures where there is room for them.
class Packer {
  public:
    explicit Packer(std::size_t room) : room_(room) {}

    void Add(std::uint8_t type, View content)
    {
        for (Bytes* part : {&pair_.data, &pair_.scanResponse}) {
            if (part->size() + 2 + content.size() <= room_) {
                Put(*part, type, content);
                return;
            }
        }
    }

    /// UUIDs of one size go into one structure, as many as fit.
    void AddUuids(const std::vector<Uuid>& uuids, std::size_t size, std::uint8_t type)
    {
        Bytes content;
        for (const Uuid& uuid : uuids) {
            const Bytes bytes = BytesOf(uuid);
            if (bytes.size() == size && 2 + content.size() + size <= room_) {
                content.insert(content.end(), bytes.begin(), bytes.end());
            }
        }
        if (!content.empty()) {
            Add(type, content);
        }
    }

    /// The whole name if it fits, else a part of it where there is most room.
    void AddName(const std::string& name)
    {
        const Bytes bytes(name.begin(), name.end());
        Bytes& smaller =
            pair_.data.size() <= pair_.scanResponse.size() ? pair_.data : pair_.scanResponse;
        if (smaller.size() + 2 + bytes.size() <= room_) {
            Add(kName, bytes);
        } else if (smaller.size() + 2 < room_) {
            Put(smaller, kShortName, View(bytes).first(room_ - smaller.size() - 2));
        }
    }

    AdvertisingPair Take() { return std::move(pair_); }

  private:
    static void Put(Bytes& part, std::uint8_t type, View content)
    {
        part.push_back(static_cast<std::uint8_t>(content.size() + 1));
        part.push_back(type);
        part.insert(part.end(), content.begin(), content.end());
    }

    std::size_t room_;
    AdvertisingPair pair_;
};

std::uint8_t BySize(std::size_t size, std::uint8_t for16, std::uint8_t for32, std::uint8_t for128)
{
    return size == 2 ? for16 : size == 4 ? for32 : for128;
}

}  // namespace

void ReadStructures(std::span<const std::uint8_t> data, AdvertisingFields& fields)
{
    for (View structure = Next(data); !structure.empty(); structure = Next(data)) {
        ReadOne(structure[1], structure.subspan(2), fields);
        data = data.subspan(structure.size());
    }
}

std::size_t WholeStructures(std::span<const std::uint8_t> data, std::size_t limit)
{
    std::size_t whole = 0;
    for (View structure = Next(data); !structure.empty(); structure = Next(data.subspan(whole))) {
        if (whole + structure.size() > limit) {
            break;
        }
        whole += structure.size();
    }
    return whole;
}

AdvertisingPair WriteStructures(const AdvertisingFields& fields, std::size_t room)
{
    Packer packer(room);
    if (fields.flags) {
        packer.Add(kFlags, Bytes{*fields.flags});
    }
    packer.AddUuids(fields.services, 2, kServices16);
    packer.AddUuids(fields.services, 4, kServices32);
    packer.AddUuids(fields.services, kLongUuid, kServices128);
    for (const auto& [company, data] : fields.manufacturerData) {
        Bytes content;
        AppendNumber(content, company);
        content.insert(content.end(), data.begin(), data.end());
        packer.Add(kManufacturer, content);
    }
    for (const auto& [uuid, data] : fields.serviceData) {
        Bytes content = BytesOf(uuid);
        const std::uint8_t type =
            BySize(content.size(), kServiceData16, kServiceData32, kServiceData128);
        content.insert(content.end(), data.begin(), data.end());
        packer.Add(type, content);
    }
    packer.AddUuids(fields.solicitedServices, 2, kSolicited16);
    packer.AddUuids(fields.solicitedServices, 4, kSolicited32);
    packer.AddUuids(fields.solicitedServices, kLongUuid, kSolicited128);
    if (fields.appearance) {
        Bytes content;
        AppendNumber(content, *fields.appearance);
        packer.Add(kAppearance, content);
    }
    if (fields.txPower) {
        packer.Add(kTxPower, Bytes{static_cast<std::uint8_t>(*fields.txPower)});
    }
    for (const auto& [type, data] : fields.others) {
        packer.Add(type, data);
    }
    if (!fields.name.empty()) {
        packer.AddName(fields.name);
    }
    return packer.Take();
}

}  // namespace pelacon::service::linux_radios::bluetooth
