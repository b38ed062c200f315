#include <service/linux/netlink/Message.h>

#include <netlink/attr.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace pelacon::service::linux_radios::netlink {

Attributes::Attributes(std::span<const std::uint8_t> bytes)
{
    int rest = static_cast<int>(bytes.size());
    // libnl reads only; its functions take what may be written.
    auto* position = reinterpret_cast<nlattr*>(const_cast<std::uint8_t*>(bytes.data()));
    for (; nla_ok(position, rest) != 0; position = nla_next(position, &rest)) {
        const auto* const content = static_cast<const std::uint8_t*>(nla_data(position));
        all_.push_back({static_cast<std::uint16_t>(nla_type(position)),
                        {content, static_cast<std::size_t>(nla_len(position))}});
    }
}

std::optional<std::span<const std::uint8_t>> Attributes::Find(std::uint16_t type) const noexcept
{
    const auto found = std::ranges::find(all_, type, &One::type);
    return found != all_.end() ? std::optional(found->content) : std::nullopt;
}

template <typename Number>
std::optional<Number> Attributes::Get(std::uint16_t type) const
{
    const auto content = Find(type);
    if (!content || content->size() < sizeof(Number)) {
        return std::nullopt;
    }
    Number number{};
    std::memcpy(&number, content->data(), sizeof number);
    return number;
}

template std::optional<std::uint8_t> Attributes::Get(std::uint16_t) const;
template std::optional<std::uint16_t> Attributes::Get(std::uint16_t) const;
template std::optional<std::uint32_t> Attributes::Get(std::uint16_t) const;
template std::optional<std::uint64_t> Attributes::Get(std::uint16_t) const;

std::optional<std::string> Attributes::Text(std::uint16_t type) const
{
    const auto content = Find(type);
    if (!content) {
        return std::nullopt;
    }
    return std::string(content->begin(), std::ranges::find(*content, std::uint8_t{0}));
}

std::span<const std::uint8_t> Attributes::Bytes(std::uint16_t type) const
{
    return Find(type).value_or(std::span<const std::uint8_t>());
}

namespace {

void Check(int result)
{
    if (result < 0) {
        throw std::bad_alloc();
    }
}

}  // namespace

void Request::Freed::operator()(nl_msg* message) const
{
    nlmsg_free(message);
}

Request::Request(std::uint16_t family, std::uint8_t command, Kind kind) : message_(nlmsg_alloc())
{
    const int flags = NLM_F_REQUEST | (kind == Kind::kDump ? NLM_F_DUMP : NLM_F_ACK);
    if (!message_ || genlmsg_put(message_.get(), 0, 0, family, 0, flags, command, 0) == nullptr) {
        throw std::bad_alloc();
    }
}

Request::Request(std::uint16_t type, std::uint16_t flags, std::span<const std::uint8_t> header)
    : message_(nlmsg_alloc())
{
    constexpr int kNoPadding = 0;
    const int all = NLM_F_REQUEST | NLM_F_ACK | flags;
    if (!message_ || nlmsg_put(message_.get(), 0, 0, type, 0, all) == nullptr) {
        throw std::bad_alloc();
    }
    // libnl reads only.
    Check(nlmsg_append(message_.get(), const_cast<std::uint8_t*>(header.data()), header.size(),
                       kNoPadding));
}

Request& Request::Put(std::uint16_t type, std::span<const std::uint8_t> bytes)
{
    Check(nla_put(message_.get(), type, static_cast<int>(bytes.size()), bytes.data()));
    return *this;
}

Request& Request::Put(std::uint16_t type, std::uint32_t value)
{
    Check(nla_put_u32(message_.get(), type, value));
    return *this;
}

Request& Request::Put(std::uint16_t type, const std::string& text)
{
    Check(nla_put_string(message_.get(), type, text.c_str()));
    return *this;
}

Request& Request::PutFlag(std::uint16_t type)
{
    Check(nla_put_flag(message_.get(), type));
    return *this;
}

std::vector<std::uint8_t> Request::Bytes(std::uint32_t sequence) const
{
    nlmsghdr* const header = nlmsg_hdr(message_.get());
    header->nlmsg_seq = sequence;
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(header);
    return {begin, begin + header->nlmsg_len};
}

}  // namespace pelacon::service::linux_radios::netlink
