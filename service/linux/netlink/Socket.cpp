#include <service/linux/netlink/Socket.h>

#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::netlink {

namespace {

/// More than the kernel puts into one datagram.
constexpr std::size_t kMostDatagram = 65536;
constexpr int kMostDatagramsAtOnce = 64;

/// The group that is notified of new families.
constexpr std::uint32_t kFamilyGroup = GENL_ID_CTRL;

Message ReadMessage(std::uint16_t type, std::span<const std::uint8_t> content)
{
    Message message;
    message.family = type;
    if (content.size() >= GENL_HDRLEN) {
        message.command = content.front();
        message.attributes = Attributes(content.subspan(GENL_HDRLEN));
    }
    return message;
}

/// The errno of an acknowledgement, or of the end of a dump; 0 for success.
int ErrorIn(std::span<const std::uint8_t> content, int errorIfNone)
{
    std::int32_t error = -errorIfNone;
    if (content.size() >= sizeof error) {
        std::memcpy(&error, content.data(), sizeof error);
    }
    return -error;
}

Family ReadFamily(const Attributes& attributes)
{
    Family family;
    family.number = attributes.Get<std::uint16_t>(CTRL_ATTR_FAMILY_ID).value_or(0);
    for (const Attributes::One& one : attributes.Nested(CTRL_ATTR_MCAST_GROUPS).All()) {
        const Attributes group(one.content);
        family.groups[group.Text(CTRL_ATTR_MCAST_GRP_NAME).value_or("")] =
            group.Get<std::uint32_t>(CTRL_ATTR_MCAST_GRP_ID).value_or(0);
    }
    return family;
}

Endpoint Open(int protocol, std::uint32_t groups)
{
    FileDescriptor descriptor(
        socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (!descriptor ||
        bind(descriptor.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), "no netlink socket");
    }
    const int number = descriptor.Get();
    return {std::move(descriptor), [number](std::uint32_t group) {
                if (setsockopt(number, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof group) !=
                    0) {
                    throw std::system_error(errno, std::generic_category(),
                                            "cannot join a netlink group");
                }
            }};
}

}  // namespace

Endpoint OpenGeneric()
{
    return Open(NETLINK_GENERIC, 0);
}

Endpoint OpenRoute()
{
    return Open(NETLINK_ROUTE, RTMGRP_LINK);
}

Socket::Socket(Loop& loop, Endpoint endpoint, OnMessage event, std::function<void()> missed)
    : loop_(loop),
      endpoint_(std::move(endpoint)),
      event_(std::move(event)),
      missed_(std::move(missed))
{
    loop_.Add(*this);
}

Socket::~Socket()
{
    loop_.Remove(*this);
}

void Socket::Send(Request request, OnMessage answer, OnDone done)
{
    waiting_.push_back({std::move(request), std::move(answer), std::move(done)});
    if (waiting_.size() == 1) {
        next_ = loop_.After(Loop::Duration::zero(), [this] { SendNext(); });
    }
}

void Socket::FindFamily(const std::string& name, std::function<void(const Family&)> found)
{
    Join(kFamilyGroup);
    Request request(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, Request::Kind::kDo);
    request.Put(CTRL_ATTR_FAMILY_NAME, name);
    const auto family = std::make_shared<Family>();
    Send(
        std::move(request),
        [family](const Message& message) { *family = ReadFamily(message.attributes); },
        [family, found = std::move(found)](int) { found(*family); });
}

void Socket::SendNext()
{
    isUnderWay_ = true;
    isInterrupted_ = false;
    limit_ = loop_.After(kLimit, [this] { Finish(ETIMEDOUT); });
    sequence_ = NextSequence();
    if (!SendBytes(waiting_.front().request, sequence_)) {
        Finish(errno);
    }
}

void Socket::SendAtOnce(const Request& request)
{
    SendBytes(request, NextSequence());
}

/// False with errno if it fails.
bool Socket::SendBytes(const Request& request, std::uint32_t sequence) const
{
    const auto bytes = request.Bytes(sequence);
    return send(endpoint_.descriptor.Get(), bytes.data(), bytes.size(),
                MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

std::uint32_t Socket::NextSequence() noexcept
{
    // An event has the number 0.
    lastSequence_ += lastSequence_ == UINT32_MAX ? 2 : 1;
    return lastSequence_;
}

void Socket::Finish(int error)
{
    limit_.Cancel();
    isUnderWay_ = false;
    const Waiting finished = std::move(waiting_.front());
    waiting_.pop_front();
    if (!waiting_.empty()) {
        next_ = loop_.After(Loop::Duration::zero(), [this] { SendNext(); });
    }
    finished.done(error);
}

Loop::Interest Socket::Wants()
{
    return {endpoint_.descriptor.Get(), POLLIN, std::nullopt};
}

void Socket::Ready(short)
{
    for (int i = 0; i < kMostDatagramsAtOnce; ++i) {
        std::vector<std::uint8_t> datagram(kMostDatagram);
        const ssize_t size =
            recv(endpoint_.descriptor.Get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
        if (size > 0) {
            datagram.resize(static_cast<std::size_t>(size));
            Take(datagram);
        } else if (size < 0 && errno == ENOBUFS) {
            missed_();
        } else if (size == 0 || errno != EINTR) {
            if (size == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
                loop_.Remove(*this);  // it would be ready again and again
            }
            return;
        }
    }
}

void Socket::Take(const std::vector<std::uint8_t>& datagram)
{
    std::span<const std::uint8_t> rest(datagram);
    nlmsghdr header{};
    while (rest.size() >= sizeof header) {
        std::memcpy(&header, rest.data(), sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > rest.size()) {
            return;
        }
        const auto content = rest.subspan(sizeof header, header.nlmsg_len - sizeof header);
        rest = rest.subspan(std::min<std::size_t>(NLMSG_ALIGN(header.nlmsg_len), rest.size()));
        const bool isAnswer = isUnderWay_ && header.nlmsg_seq == sequence_;
        if (header.nlmsg_seq == 0 && header.nlmsg_type >= NLMSG_MIN_TYPE) {
            event_(ReadMessage(header.nlmsg_type, content));
        } else if (isAnswer) {
            isInterrupted_ = isInterrupted_ || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
            if (header.nlmsg_type == NLMSG_ERROR) {
                Finish(ErrorIn(content, EBADMSG));
            } else if (header.nlmsg_type == NLMSG_DONE) {
                Finish(isInterrupted_ ? EINTR : ErrorIn(content, 0));
            } else if (header.nlmsg_type >= NLMSG_MIN_TYPE) {
                waiting_.front().answer(ReadMessage(header.nlmsg_type, content));
            }
        }
    }
}

}  // namespace pelacon::service::linux_radios::netlink
