#include <os/Lock.h>
#include <os/Wlan.h>

#include <linux/nl80211.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace pelacon::os {

namespace {

struct SocketFreed {
    void operator()(nl_sock* socket) const { nl_socket_free(socket); }
};
using Socket = std::unique_ptr<nl_sock, SocketFreed>;

struct MessageFreed {
    void operator()(nl_msg* message) const { nlmsg_free(message); }
};
using Message = std::unique_ptr<nl_msg, MessageFreed>;

using InterfaceIndex = std::uint32_t;

/// Answers of the kernel are waited for this long at most; they come at once.
constexpr timeval kAnswerTimeout{1, 0};

/// Null where the kernel gives none.
Socket Connect()
{
    Socket socket(nl_socket_alloc());
    if (!socket || genl_connect(socket.get()) < 0 ||
        setsockopt(nl_socket_get_fd(socket.get()), SOL_SOCKET, SO_RCVTIMEO, &kAnswerTimeout,
                   sizeof kAnswerTimeout) != 0) {
        return nullptr;
    }
    return socket;
}

/// A request of the nl80211 family, without attributes yet; null when there is no memory.
Message MakeRequest(int family, int flags, std::uint8_t command)
{
    Message message(nlmsg_alloc());
    if (message && genlmsg_put(message.get(), NL_AUTO_PORT, NL_AUTO_SEQ, family, 0, flags, command,
                               0) == nullptr) {
        message.reset();
    }
    return message;
}

/// Asks for whatever networks answer, by the name of none: without it a scan only listens.
bool AddAnyNetwork(nl_msg* message)
{
    nlattr* const names = nla_nest_start(message, NL80211_ATTR_SCAN_SSIDS);
    return names != nullptr && nla_put(message, 1, 0, "") == 0 && nla_nest_end(message, names) >= 0;
}

int AddInterface(nl_msg* message, void* list)
{
    nlattr* attributes[NL80211_ATTR_MAX + 1] = {};
    if (genlmsg_parse(nlmsg_hdr(message), 0, attributes, NL80211_ATTR_MAX, nullptr) == 0 &&
        attributes[NL80211_ATTR_IFINDEX] != nullptr) {
        static_cast<std::vector<InterfaceIndex>*>(list)->push_back(
            nla_get_u32(attributes[NL80211_ATTR_IFINDEX]));
    }
    return NL_OK;
}

}  // namespace

/// A socket of the kernel's generic netlink, which takes one conversation at a time. One on which a
/// conversation failed is replaced, as a late answer would disturb the next; so is, in a forked
/// child, the one that the parent goes on to use.
struct WlanClient {
    Lock lock;
    std::uint32_t forkGeneration = ForkGeneration();
    Socket socket;
};

namespace {

/// The interfaces in the kernel's order; false when the kernel knows no wireless at all, or does
/// not answer.
bool ListIndexes(nl_sock* socket, std::vector<InterfaceIndex>& indexes)
{
    const int family = genl_ctrl_resolve(socket, NL80211_GENL_NAME);
    if (family < 0) {
        return false;
    }
    const Message request = MakeRequest(family, NLM_F_DUMP, NL80211_CMD_GET_INTERFACE);
    if (!request ||
        nl_socket_modify_cb(socket, NL_CB_VALID, NL_CB_CUSTOM, AddInterface, &indexes) < 0) {
        return false;
    }
    const bool listed =
        nl_send_auto(socket, request.get()) >= 0 && nl_recvmsgs_default(socket) >= 0;
    nl_socket_modify_cb(socket, NL_CB_VALID, NL_CB_DEFAULT, nullptr, nullptr);
    return listed;
}

/// Likewise; false when the kernel refuses.
bool TriggerScan(nl_sock* socket, InterfaceIndex interface)
{
    const int family = genl_ctrl_resolve(socket, NL80211_GENL_NAME);
    const Message request = MakeRequest(family, 0, NL80211_CMD_TRIGGER_SCAN);
    return family >= 0 && request &&
           nla_put_u32(request.get(), NL80211_ATTR_IFINDEX, interface) == 0 &&
           AddAnyNetwork(request.get()) && nl_send_auto(socket, request.get()) >= 0 &&
           nl_wait_for_ack(socket) >= 0;
}

/// Has the conversation take place, if there is a socket for it. False when there is none, or the
/// conversation fails.
template <typename Conversation>
bool Converse(WlanClient& client, const Conversation& conversation)
{
    const std::lock_guard lock(client.lock);
    if (client.forkGeneration != ForkGeneration()) {
        client.forkGeneration = ForkGeneration();
        // Not freed: another thread of the parent may have been about to change it.
        if (nl_sock* const inherited = client.socket.release()) {
            close(nl_socket_get_fd(inherited));
        }
    }
    if (!client.socket) {
        client.socket = Connect();
    }
    if (client.socket && conversation(client.socket.get())) {
        return true;
    }
    client.socket.reset();
    return false;
}

class KernelInterfaces : public WlanInterfaces {
  public:
    KernelInterfaces(WlanClient& client, std::vector<InterfaceIndex> indexes)
        : client_(client), indexes_(std::move(indexes))
    {}

    std::size_t Count() const override { return indexes_.size(); }

    void RequestScan(std::size_t index) override
    {
        Converse(client_, [&](nl_sock* socket) { return TriggerScan(socket, indexes_.at(index)); });
    }

  private:
    WlanClient& client_;
    std::vector<InterfaceIndex> indexes_;
};

}  // namespace

WlanHandle OpenWlan()
{
    auto client = std::make_unique<WlanClient>();
    client->socket = Connect();
    if (!client->socket) {
        return nullptr;
    }
    return client.release();
}

std::unique_ptr<WlanInterfaces> ListWlanInterfaces(WlanHandle handle)
{
    std::vector<InterfaceIndex> indexes;
    if (handle == nullptr ||
        !Converse(*handle, [&](nl_sock* socket) { return ListIndexes(socket, indexes); })) {
        return nullptr;
    }
    return std::make_unique<KernelInterfaces>(*handle, std::move(indexes));
}

}  // namespace pelacon::os
