// D-Bus by libsystemd: between the two processes, and through dbus-daemon.
#include <bench/Peer.h>
#include <bench/peers/Caller.h>
#include <bench/roles/Roles.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>

namespace pelacon::bench {

namespace {

constexpr auto kName = "org.pelacon.Bench";
constexpr auto kPath = "/bench";
constexpr auto kInterface = "org.pelacon.Bench";
constexpr std::uint64_t kForever = UINT64_MAX;

int Checked(int result, const char* what)
{
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

sockaddr_un AddressOf(const std::string& folder)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder + "/direct.sock").copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

int NewSocket()
{
    return Checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
}

std::string DaemonAddress(const std::string& folder)
{
    return "unix:path=" + folder + "/bus.sock";
}

/// A message, which the destructor releases.
class Message {
  public:
    ~Message() { sd_bus_message_unref(message_); }
    Message() = default;
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    sd_bus_message** Place() { return &message_; }
    sd_bus_message* Get() const { return message_; }

    void Append(const void* bytes, std::size_t size)
    {
        Checked(sd_bus_message_append_array(message_, 'y', bytes, size), "append");
    }

  private:
    sd_bus_message* message_ = nullptr;
};

int Echo(sd_bus_message* request, void*, sd_bus_error*)
{
    const void* bytes = nullptr;
    std::size_t size = 0;
    Checked(sd_bus_message_read_array(request, 'y', &bytes, &size), "read");
    Message reply;
    Checked(sd_bus_message_new_method_return(request, reply.Place()), "reply");
    reply.Append(bytes, size);
    return sd_bus_send(nullptr, reply.Get(), nullptr);
}

int Push(sd_bus_message* request, void*, sd_bus_error*)
{
    constexpr std::uint32_t kBatch = 64;  // the queue of a bus is short
    std::uint32_t size = 0;
    std::uint32_t count = 0;
    Checked(sd_bus_message_read(request, "uu", &size, &count), "read");
    sd_bus* const bus = sd_bus_message_get_bus(request);
    std::vector<std::uint8_t> bytes(size);
    for (std::uint32_t number = 0; number < count; ++number) {
        std::memcpy(bytes.data(), &number, sizeof number);
        Message signal;
        Checked(sd_bus_message_new_signal(bus, signal.Place(), kPath, kInterface, "Pushed"),
                "signal");
        signal.Append(bytes.data(), bytes.size());
        Checked(sd_bus_send(bus, signal.Get(), nullptr), "send");
        if (number % kBatch == kBatch - 1) {
            Checked(sd_bus_flush(bus), "flush");
        }
    }
    return sd_bus_reply_method_return(request, "");
}

int Serve(sd_bus* bus)
{
    static const sd_bus_vtable table[] = {SD_BUS_VTABLE_START(0),
                                          SD_BUS_METHOD("Echo", "ay", "ay", Echo, 0),
                                          SD_BUS_METHOD("Push", "uu", "", Push, 0),
                                          SD_BUS_SIGNAL("Pushed", "ay", 0), SD_BUS_VTABLE_END};
    Checked(sd_bus_add_object_vtable(bus, nullptr, kPath, kInterface, table, nullptr), "vtable");
    for (;;) {
        const int result = sd_bus_process(bus, nullptr);
        if (result < 0) {
            return 0;  // the other side has gone
        }
        if (result == 0) {
            sd_bus_wait(bus, kForever);
        }
    }
}

sd_bus* NewBus()
{
    sd_bus* bus = nullptr;
    Checked(sd_bus_new(&bus), "bus");
    return bus;
}

sd_bus* OpenDirect(const std::string& folder)
{
    const int descriptor = NewSocket();
    const sockaddr_un address = AddressOf(folder);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), "connect");
    }
    sd_bus* const bus = NewBus();
    Checked(sd_bus_set_fd(bus, descriptor, descriptor), "descriptor");
    Checked(sd_bus_start(bus), "start");
    return bus;
}

sd_bus* OpenDaemon(const std::string& folder)
{
    sd_bus* const bus = NewBus();
    Checked(sd_bus_set_address(bus, DaemonAddress(folder).c_str()), "address");
    Checked(sd_bus_set_bus_client(bus, 1), "client");
    Checked(sd_bus_start(bus), "start");
    return bus;
}

class SdBus : public Caller {
  public:
    SdBus(std::string name, sd_bus* bus, const char* destination)
        : name_(std::move(name)), bus_(bus), destination_(destination)
    {
        Checked(
            sd_bus_match_signal(bus_, nullptr, nullptr, kPath, kInterface, "Pushed", &Pushed, this),
            "match");
    }
    ~SdBus() override { sd_bus_flush_close_unref(bus_); }

    std::string Name() const override { return name_; }

    void Call(std::vector<std::uint8_t>& message) override
    {
        Message request;
        Checked(sd_bus_message_new_method_call(bus_, request.Place(), destination_, kPath,
                                               kInterface, "Echo"),
                "call");
        request.Append(message.data(), message.size());
        Message reply;
        Checked(sd_bus_call(bus_, request.Get(), 0, nullptr, reply.Place()), "call");
        const void* bytes = nullptr;
        std::size_t size = 0;
        Checked(sd_bus_message_read_array(reply.Get(), 'y', &bytes, &size), "read");
        message.assign(static_cast<const std::uint8_t*>(bytes),
                       static_cast<const std::uint8_t*>(bytes) + size);
    }

    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        arrivals_ = &arrivals;
        Checked(sd_bus_call_method_async(bus_, nullptr, destination_, kPath, kInterface, "Push",
                                         nullptr, nullptr, "uu", size, count),
                "call");
        while (!arrivals.AreAllThere()) {
            if (Checked(sd_bus_process(bus_, nullptr), "process") == 0) {
                Checked(sd_bus_wait(bus_, kForever), "wait");
            }
        }
    }

  private:
    static int Pushed(sd_bus_message* signal, void* self, sd_bus_error*)
    {
        const void* bytes = nullptr;
        std::size_t size = 0;
        Checked(sd_bus_message_read_array(signal, 'y', &bytes, &size), "read");
        static_cast<SdBus*>(self)->arrivals_->Take(NumberOf(bytes));
        return 0;
    }

    std::string name_;
    sd_bus* bus_;
    const char* destination_;
    Arrivals* arrivals_ = nullptr;
};

/// An SdBus and the processes that it needs, which are ended after it.
class WithPeers : public Caller {
  public:
    using Open = sd_bus* (*)(const std::string& folder);

    WithPeers(std::string name, const std::string& folder, const std::string& role, Open open,
              const char* destination, std::unique_ptr<Peer> daemon = nullptr)
        : daemon_(std::move(daemon)), peer_(Peer::InRole(role, folder))
    {
        peer_.Hear();
        bus_.emplace(std::move(name), open(folder), destination);
    }

    std::string Name() const override { return bus_->Name(); }
    void Call(std::vector<std::uint8_t>& message) override { bus_->Call(message); }
    void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) override
    {
        bus_->Receive(size, count, arrivals);
    }

  private:
    std::unique_ptr<Peer> daemon_;
    Peer peer_;
    std::optional<SdBus> bus_;
};

}  // namespace

int RunDirectBusRole()
{
    const int listener = NewSocket();
    const sockaddr_un address = AddressOf(RoleFolder());
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0) {
        throw std::system_error(errno, std::generic_category(), "bind");
    }
    Answer("ready");
    const int descriptor = Checked(accept(listener, nullptr, nullptr), "accept");
    sd_bus* const bus = NewBus();
    sd_id128_t id{};
    Checked(sd_id128_randomize(&id), "identity");
    Checked(sd_bus_set_fd(bus, descriptor, descriptor), "descriptor");
    Checked(sd_bus_set_server(bus, 1, id), "server");
    Checked(sd_bus_start(bus), "start");
    return Serve(bus);
}

int RunDaemonBusRole()
{
    sd_bus* const bus = OpenDaemon(RoleFolder());
    Checked(sd_bus_request_name(bus, kName, 0), "name");
    Answer("ready");
    return Serve(bus);
}

std::unique_ptr<Caller> MakeDirectBusCaller(const std::string& folder)
{
    return std::make_unique<WithPeers>("D-Bus (sd-bus), peer to peer", folder, "direct-bus",
                                       &OpenDirect, nullptr);
}

std::unique_ptr<Caller> MakeDaemonBusCaller(const std::string& folder)
{
    auto daemon = std::make_unique<Peer>(
        "/usr/bin/dbus-daemon",
        std::vector<std::string>{"--session", "--nofork", "--nopidfile", "--nosyslog",
                                 "--print-address", "--address=" + DaemonAddress(folder)},
        folder);
    daemon->Hear();
    return std::make_unique<WithPeers>("D-Bus (sd-bus), through dbus-daemon", folder, "daemon-bus",
                                       &OpenDaemon, kName, std::move(daemon));
}

}  // namespace pelacon::bench
