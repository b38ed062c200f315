#include <service/core/Faults.h>

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

namespace pelacon::service {

using namespace std::chrono_literals;

namespace {

constexpr std::array<std::pair<std::string_view, FaultKind>, 6> kKinds{{
    {"delay", FaultKind::kDelay},
    {"never", FaultKind::kNever},
    {"empty", FaultKind::kEmpty},
    {"status", FaultKind::kStatus},
    {"disconnect", FaultKind::kDisconnect},
    {"malformed", FaultKind::kMalformed},
}};

FaultKind ReadKind(const json::Reader& reader)
{
    return reader.Choice<FaultKind>(
        {kKinds[0], kKinds[1], kKinds[2], kKinds[3], kKinds[4], kKinds[5]});
}

std::optional<std::int32_t> IdIn(std::string_view text)
{
    if (!text.starts_with("0x") && !text.starts_with("0X")) {
        return std::nullopt;
    }
    std::int32_t id = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + 2, end, id, 16);
    return error == std::errc() && stop == end ? std::optional(id) : std::nullopt;
}

void ReadRequest(const json::Reader& reader, FaultConfig& config)
{
    config.request = reader.Text(1, 64);
    config.entry = protocol::FindByName(config.request);
    config.id = IdIn(config.request);
    const bool isOperation = config.entry != nullptr && config.entry->IsSentToService();
    if (!isOperation && !config.id && config.request != "any") {
        reader.Fail("must be \"any\", an operation's name, or its id such as \"0xD7005C\"");
    }
}

bool Concerns(const FaultConfig& config, const protocol::CatalogueEntry* entry, std::int32_t id)
{
    const bool meant = config.entry != nullptr ? config.entry == entry
                       : config.id             ? *config.id == id
                                               : true;
    return meant && (config.kind != FaultKind::kStatus || ReplyWithStatus(entry, 0).has_value());
}

}  // namespace

std::string_view NameOf(FaultKind kind)
{
    return kKinds[static_cast<std::size_t>(kind)].first;
}

void ReadFault(json::Fields& fields, FaultConfig& config)
{
    ReadRequest(fields.Required("request"), config);
    config.kind = ReadKind(fields.Required("do"));
    const bool isDelay = config.kind == FaultKind::kDelay;
    if (isDelay) {
        config.delay = fields.Required("ms").Milliseconds(0ms, 1h);
    } else {
        fields.Read("ms", config.delay, 0ms, 1h);
    }
    if (config.kind == FaultKind::kStatus) {
        config.status = fields.Required("status").Integer<std::int32_t>();
        if (config.entry != nullptr && !ReplyWithStatus(config.entry, 0)) {
            fields.Fail("a reply to " + config.request + " has no place for a status");
        }
    } else if (!isDelay) {
        fields.Read("perform", config.perform);
    }
    fields.Read("after", config.after, 0, 1'000'000'000);
    fields.Read("times", config.times, 1, 1'000'000'000);
    fields.Read("probability", config.probability, 0, 1);
    fields.Read("seed", config.seed, 0, INT64_MAX);
}

std::uint64_t Faults::Add(const FaultConfig& config)
{
    const std::uint64_t number = ++lastNumber_;
    active_.push_back({number, config, Random(config.seed.value_or(seed_ + number))});
    return number;
}

bool Faults::Remove(std::uint64_t number)
{
    return std::erase_if(active_, [&](const Active& fault) { return fault.number == number; }) != 0;
}

bool Faults::Strikes(Active& fault)
{
    if (fault.matched++ < fault.config.after) {
        return false;
    }
    if (fault.config.times && fault.hits >= *fault.config.times) {
        return false;
    }
    // A number is drawn for every request that matches, so that a run can be repeated.
    if (!fault.random.Chance(fault.config.probability)) {
        return false;
    }
    ++fault.hits;
    return true;
}

FaultVerdict Faults::Judge(std::int32_t id, std::size_t payloadLength)
{
    const protocol::CatalogueEntry* const entry = protocol::FindRequest(id, payloadLength);
    FaultVerdict verdict;
    for (Active& fault : active_) {
        if (!Concerns(fault.config, entry, id) || !Strikes(fault)) {
            continue;
        }
        verdict.delay += fault.config.delay;
        if (fault.config.kind != FaultKind::kDelay) {
            verdict.fault = fault.config;
            break;
        }
    }
    std::erase_if(active_, [](const Active& fault) {
        return fault.config.times && fault.hits >= *fault.config.times;
    });
    return verdict;
}

json::Output::List Faults::Describe() const
{
    json::Output::List list;
    for (const Active& fault : active_) {
        json::Output entry{
            {"number", fault.number},
            {"request", fault.config.request},
            {"do", NameOf(fault.config.kind)},
            {"matched", fault.matched},
            {"hits", fault.hits},
        };
        if (fault.config.delay != 0ms) {
            entry["ms"] = fault.config.delay.count();
        }
        if (fault.config.kind == FaultKind::kStatus) {
            entry["status"] = fault.config.status;
        }
        if (fault.config.perform) {
            entry["perform"] = true;
        }
        if (fault.config.after != 0) {
            entry["after"] = fault.config.after;
        }
        if (fault.config.times) {
            entry["times"] = *fault.config.times;
        }
        if (fault.config.probability < 1) {
            entry["probability"] = fault.config.probability;
        }
        list.push_back(std::move(entry));
    }
    return list;
}

std::optional<std::vector<std::uint8_t>> ReplyWithStatus(const protocol::CatalogueEntry* entry,
                                                         std::int32_t status)
{
    if (entry == nullptr || !entry->status) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> reply(entry->replySize);
    std::memcpy(reply.data() + entry->status->offset, &status, entry->status->size);
    return reply;
}

}  // namespace pelacon::service
