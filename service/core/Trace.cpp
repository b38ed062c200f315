#include <protocol/Catalogue.h>
#include <protocol/Hex.h>
#include <service/base/Log.h>
#include <service/core/Trace.h>

#include <algorithm>
#include <bit>

namespace pelacon::service {

namespace {

std::string HexId(std::int32_t id)
{
    const auto bits = static_cast<std::uint32_t>(id);
    const auto digits = static_cast<std::size_t>(std::bit_width(bits) + 3) / 4;
    return "0x" + protocol::HexNumber(bits, std::max<std::size_t>(digits, 1));
}

std::string NameOf(const protocol::CatalogueEntry* entry, std::int32_t id)
{
    return entry != nullptr ? std::string(entry->name) + " " + HexId(id) : HexId(id);
}

std::string Contents(ByteView payload)
{
    std::string text = std::to_string(payload.size()) + " bytes";
    if (log::IsWanted(LogLevel::kTrace) && !payload.empty()) {
        text.append(": ").append(HexOf(payload));
    }
    return text;
}

}  // namespace

std::string RequestName(std::int32_t id, std::size_t payloadLength)
{
    return NameOf(protocol::FindRequest(id, payloadLength), id);
}

std::string HexOf(ByteView bytes, std::size_t most)
{
    std::string text = protocol::HexText(bytes.first(std::min(most, bytes.size())));
    if (bytes.size() > most) {
        text.append("...");
    }
    return text;
}

void TraceRequest(std::uint64_t clientId, std::int32_t id, ByteView payload)
{
    if (log::IsWanted(LogLevel::kDebug)) {
        log::Debug("client ", clientId, " > ", RequestName(id, payload.size()), ", ",
                   Contents(payload));
    }
}

void TraceReply(std::uint64_t clientId, std::int32_t id, std::size_t requestLength,
                ByteView payload, std::chrono::steady_clock::duration took)
{
    if (!log::IsWanted(LogLevel::kDebug)) {
        return;
    }
    const protocol::CatalogueEntry* entry = protocol::FindRequest(id, requestLength);
    std::string status;
    if (entry != nullptr && entry->status && entry->status->size == sizeof(std::int32_t) &&
        payload.size() >= entry->status->offset + sizeof(std::int32_t)) {
        status = ", status " +
                 std::to_string(ReadPadded<std::int32_t>(payload.subspan(entry->status->offset)));
    }
    log::Debug("client ", clientId, " < ", NameOf(entry, id), status, ", ", Contents(payload), ", ",
               std::chrono::duration_cast<std::chrono::microseconds>(took).count(), " us");
}

void TraceNotification(std::uint64_t clientId, std::int32_t id, ByteView payload, bool sent)
{
    if (log::IsWanted(LogLevel::kDebug)) {
        log::Debug("client ", clientId, " ! ", NameOf(protocol::FindNotification(id), id), ", ",
                   Contents(payload), sent ? "" : ", not there");
    }
}

}  // namespace pelacon::service
