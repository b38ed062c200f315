// The messages to and from the kernel about wireless interfaces. The kernel is a stand-in: all that
// libnl sends and receives goes through it.
#include <os/Wlan.h>
#include <tests/support/linux/InChild.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using ::testing::ElementsAre;

using Datagram = std::vector<std::uint8_t>;

/// A requested scan.
struct Scan {
    std::uint32_t interface;
    std::vector<std::string> networks;
    int flags;

    bool operator==(const Scan&) const = default;
};

class Kernel {
  public:
    bool hasWireless = true;
    bool silent = false;                                   ///< answers are held back
    std::vector<std::optional<std::uint32_t>> interfaces;  ///< by index; some have none
    int scanResult = 0;

    std::vector<Scan> scans;
    int dumps = 0;
    std::function<void()> onRequest;

    void Take(int socket, const Datagram& datagram)
    {
        if (const auto action = std::exchange(onRequest, nullptr)) {
            action();
        }
        Datagram copy = datagram;
        auto* request = reinterpret_cast<nlmsghdr*>(copy.data());
        socket_ = socket;
        if (request->nlmsg_type == GENL_ID_CTRL) {
            AnswerWhichFamily(*request);
        } else if (request->nlmsg_type == kFamily) {
            AnswerAboutWireless(*request);
        }
    }

    /// A new socket has no answers to come, though one of the same number had.
    void Open(int socket) { answers_[socket].clear(); }

    /// The next datagram for a socket; nothing when there is none in time.
    const Datagram* Next(int socket)
    {
        if (silent || answers_[socket].empty()) {
            return nullptr;
        }
        return &answers_[socket].front();
    }
    void Drop(int socket) { answers_[socket].pop_front(); }

  private:
    static constexpr std::uint16_t kFamily = 0x1C;

    struct Freed {
        void operator()(nl_msg* message) const { nlmsg_free(message); }
    };
    using Message = std::unique_ptr<nl_msg, Freed>;

    static Message Reply(const nlmsghdr& request, int type, int flags, std::uint8_t command)
    {
        Message message(nlmsg_alloc());
        genlmsg_put(message.get(), request.nlmsg_pid, request.nlmsg_seq, type, 0, flags, command,
                    1);
        return message;
    }
    void Send(const Message& message)
    {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(nlmsg_hdr(message.get()));
        answers_[socket_].emplace_back(bytes, bytes + nlmsg_hdr(message.get())->nlmsg_len);
    }
    void Acknowledge(const nlmsghdr& request, int error)
    {
        if (error == 0 && (request.nlmsg_flags & NLM_F_ACK) == 0) {
            return;
        }
        const nlmsgerr answer{error, request};
        Message message(nlmsg_alloc());
        nlmsg_put(message.get(), request.nlmsg_pid, request.nlmsg_seq, NLMSG_ERROR, 0, 0);
        nlmsg_append(message.get(), const_cast<nlmsgerr*>(&answer), sizeof answer, NLMSG_ALIGNTO);
        Send(message);
    }

    void AnswerWhichFamily(nlmsghdr& request)
    {
        nlattr* attributes[CTRL_ATTR_MAX + 1] = {};
        ASSERT_EQ(genlmsg_parse(&request, 0, attributes, CTRL_ATTR_MAX, nullptr), 0);
        ASSERT_NE(attributes[CTRL_ATTR_FAMILY_NAME], nullptr);
        EXPECT_STREQ(nla_get_string(attributes[CTRL_ATTR_FAMILY_NAME]), "nl80211");
        if (!hasWireless) {
            return Acknowledge(request, -ENOENT);
        }
        const Message reply = Reply(request, GENL_ID_CTRL, 0, CTRL_CMD_NEWFAMILY);
        nla_put_string(reply.get(), CTRL_ATTR_FAMILY_NAME, "nl80211");
        nla_put_u16(reply.get(), CTRL_ATTR_FAMILY_ID, kFamily);
        Send(reply);
        Acknowledge(request, 0);
    }

    void AnswerAboutWireless(nlmsghdr& request)
    {
        nlattr* attributes[NL80211_ATTR_MAX + 1] = {};
        ASSERT_EQ(genlmsg_parse(&request, 0, attributes, NL80211_ATTR_MAX, nullptr), 0);
        switch (genlmsg_hdr(&request)->cmd) {
            case NL80211_CMD_GET_INTERFACE:
                EXPECT_EQ(request.nlmsg_flags & NLM_F_DUMP, NLM_F_DUMP) << "all of them";
                return Dump(request);
            case NL80211_CMD_TRIGGER_SCAN:
                return NoteScan(request, attributes);
            default:
                ADD_FAILURE() << "an unknown request";
        }
    }

    void Dump(const nlmsghdr& request)
    {
        ++dumps;
        for (const auto& interface : interfaces) {
            const Message reply = Reply(request, kFamily, NLM_F_MULTI, NL80211_CMD_NEW_INTERFACE);
            nla_put_u32(reply.get(), NL80211_ATTR_WIPHY, 0);
            if (interface) {
                nla_put_u32(reply.get(), NL80211_ATTR_IFINDEX, *interface);
            }
            Send(reply);
        }
        Message done(nlmsg_alloc());
        const int error = 0;
        nlmsg_put(done.get(), request.nlmsg_pid, request.nlmsg_seq, NLMSG_DONE, 0, NLM_F_MULTI);
        nlmsg_append(done.get(), const_cast<int*>(&error), sizeof error, NLMSG_ALIGNTO);
        Send(done);
    }

    void NoteScan(const nlmsghdr& request, nlattr* const* attributes)
    {
        ASSERT_NE(attributes[NL80211_ATTR_IFINDEX], nullptr);
        ASSERT_NE(attributes[NL80211_ATTR_SCAN_SSIDS], nullptr);
        Scan scan{nla_get_u32(attributes[NL80211_ATTR_IFINDEX]), {}, request.nlmsg_flags};
        nlattr* network = nullptr;
        int left = 0;
        nla_for_each_nested(network, attributes[NL80211_ATTR_SCAN_SSIDS], left)
        {
            scan.networks.emplace_back(static_cast<const char*>(nla_data(network)),
                                       static_cast<std::size_t>(nla_len(network)));
        }
        scans.push_back(scan);
        Acknowledge(request, scanResult);
    }

    int socket_ = -1;
    std::map<int, std::deque<Datagram>> answers_;
};

Kernel* kernel = nullptr;

class WlanTest : public ::testing::Test {
  protected:
    WlanTest() : handle((kernel = &theKernel, pelacon::os::OpenWlan())) {}
    ~WlanTest() override { kernel = nullptr; }

    /// How many interfaces there are; nothing when they cannot be listed.
    std::optional<std::size_t> Count() const
    {
        const auto interfaces = pelacon::os::ListWlanInterfaces(handle);
        return interfaces ? std::optional(interfaces->Count()) : std::nullopt;
    }

    Kernel theKernel;
    const pelacon::os::WlanHandle handle;
};

TEST_F(WlanTest, InterfacesAreListedInTheKernelsOrder)
{
    theKernel.interfaces = {7, std::nullopt, 3};
    const auto interfaces = pelacon::os::ListWlanInterfaces(handle);
    ASSERT_NE(interfaces, nullptr);
    EXPECT_EQ(interfaces->Count(), 2U) << "an interface without an index is ignored";
    interfaces->RequestScan(1);
    interfaces->RequestScan(0);
    const int flags = NLM_F_REQUEST | NLM_F_ACK;
    EXPECT_THAT(theKernel.scans, ElementsAre(Scan{3, {""}, flags}, Scan{7, {""}, flags}))
        << "for any network";
}

TEST_F(WlanTest, TheListMayBeEmpty)
{
    EXPECT_EQ(Count(), 0U);
}

TEST_F(WlanTest, AKernelWithoutWirelessListsNothing)
{
    theKernel.hasWireless = false;
    EXPECT_EQ(Count(), std::nullopt);
    theKernel.hasWireless = true;
    theKernel.interfaces = {7};
    EXPECT_EQ(Count(), 1U) << "wireless may be available later";
}

TEST_F(WlanTest, ARefusedScanIsIgnored)
{
    theKernel.interfaces = {7};
    for (const int refusal : {-EPERM, -EBUSY, 0}) {
        theKernel.scanResult = refusal;
        const auto interfaces = pelacon::os::ListWlanInterfaces(handle);
        ASSERT_NE(interfaces, nullptr) << "after " << theKernel.scans.size() << " scans";
        interfaces->RequestScan(0);
    }
    EXPECT_EQ(theKernel.scans.size(), 3U);
}

TEST_F(WlanTest, ALateAnswerIsIgnored)
{
    theKernel.interfaces = {7, 3};
    theKernel.silent = true;
    EXPECT_EQ(Count(), std::nullopt);
    theKernel.silent = false;
    theKernel.interfaces = {7};
    EXPECT_EQ(Count(), 1U);
    EXPECT_EQ(theKernel.dumps, 1);
}

TEST_F(WlanTest, AForkedChildHasItsOwnSocket)
{
    theKernel.interfaces = {7, 3};
    std::promise<void> listing;
    std::promise<void> forked;
    theKernel.onRequest = [&] {
        listing.set_value();
        EXPECT_EQ(forked.get_future().wait_for(std::chrono::seconds(10)),
                  std::future_status::ready);
    };
    std::thread other([&] { EXPECT_EQ(Count(), 2U); });
    ASSERT_EQ(listing.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(pelacon::test::InChild([&] { return Count() == 2U ? 0 : 1; }), 0);
    forked.set_value();
    other.join();
    EXPECT_EQ(Count(), 2U);
}

TEST_F(WlanTest, WithoutAHandleNothingIsListed)
{
    EXPECT_EQ(pelacon::os::ListWlanInterfaces(nullptr), nullptr);
}

}  // namespace

// These replace the C library's functions for libnl.

extern "C" [[gnu::visibility("default")]] int socket(int domain, int type, int protocol) noexcept
{
    const auto descriptor = static_cast<int>(syscall(SYS_socket, domain, type, protocol));
    kernel->Open(descriptor);
    return descriptor;
}

extern "C" [[gnu::visibility("default")]] ssize_t sendmsg(int socket, const msghdr* message,
                                                          int /*flags*/)
{
    Datagram datagram;
    for (std::size_t part = 0; part < message->msg_iovlen; ++part) {
        const auto* bytes = static_cast<const std::uint8_t*>(message->msg_iov[part].iov_base);
        datagram.insert(datagram.end(), bytes, bytes + message->msg_iov[part].iov_len);
    }
    kernel->Take(socket, datagram);
    return static_cast<ssize_t>(datagram.size());
}

extern "C" [[gnu::visibility("default")]] ssize_t recvmsg(int socket, msghdr* message, int flags)
{
    const Datagram* const datagram = kernel->Next(socket);
    if (datagram == nullptr) {
        errno = EAGAIN;  // as on a socket with a time limit
        return -1;
    }
    const iovec& room = message->msg_iov[0];
    const std::size_t whole = datagram->size();
    const std::size_t copied = std::min(whole, room.iov_len);
    if (copied > 0) {
        std::memcpy(room.iov_base, datagram->data(), copied);
    }
    sockaddr_nl sender{};
    sender.nl_family = AF_NETLINK;
    std::memcpy(message->msg_name, &sender, sizeof sender);
    message->msg_namelen = sizeof sender;
    message->msg_controllen = 0;
    message->msg_flags = copied < whole ? MSG_TRUNC : 0;
    if ((flags & MSG_PEEK) == 0) {
        kernel->Drop(socket);
    }
    return static_cast<ssize_t>((flags & MSG_TRUNC) != 0 ? whole : copied);
}
