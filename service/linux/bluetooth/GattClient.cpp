#include <service/linux/bluetooth/GattClient.h>
#include <service/linux/bluetooth/GattLink.h>

#include <functional>
#include <map>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// The part of a connection that the scheduler's lock guards; the GattLink is in the loop's thread.
class GattConnection : public radio::GattConnection {
  public:
    GattConnection(const Host& host, const std::shared_ptr<Gate>& gate, std::uint64_t address,
                   radio::GattConnectionObserver& observer);
    ~GattConnection() override { AbandonAll(); }

    bool IsUp() const override { return isUp_; }
    std::int32_t Mtu() const override { return remote_.mtu; }
    Completion<GattStatus> Discover() override;
    bool HasService(const Uuid& service) const override
    {
        return isDiscovered_ && remote_.services.contains(service);
    }
    Completion<ReadResult> Read(const Uuid& service, const Uuid& characteristic) override;
    Completion<GattStatus> Write(const Uuid& service, const Uuid& characteristic,
                                 radio::GattValue value) override;
    Completion<GattStatus> Subscribe(const Uuid& service, const Uuid& characteristic,
                                     bool enable) override;

  private:
    void Connected();
    void Ended(GattReason why);
    void AbandonAll();

    /// Posts a call of `begin` with the link and with a function that takes the result. The result
    /// is `whenEnded` if there is no connection, or it ends before.
    template <typename Result, typename Begin>
    Completion<Result> Ask(Result whenEnded, Begin begin);

    Scheduler& scheduler_;
    radio::GattConnectionObserver& observer_;
    bool isUp_ = false;
    bool isDiscovered_ = false;
    GattRemote remote_;
    std::uint64_t lastOperation_ = 0;
    std::map<std::uint64_t, std::function<void()>> abandon_;  // the operations under way
    Upcalls<GattConnection> upcalls_;
    std::unique_ptr<InLoop<GattLink>> link_;
};

GattConnection::GattConnection(const Host& host, const std::shared_ptr<Gate>& gate,
                               std::uint64_t address, radio::GattConnectionObserver& observer)
    : scheduler_(host.GetScheduler()), observer_(observer), upcalls_(gate, *this)
{
    const GattLink::Callbacks callbacks{
        .connected = upcalls_.To(&GattConnection::Connected),
        .ended = upcalls_.To(&GattConnection::Ended),
        .notified = upcalls_.To([](const GattConnection& connection, const GattLink::Key& key,
                                   const dbus::Bytes& value, bool isIndication) {
            connection.observer_.Notified(key.first, key.second, value, isIndication);
        }),
        .changed = upcalls_.To([](GattConnection& connection, const GattRemote& remote) {
            connection.remote_ = remote;
        }),
    };
    link_ = host.Create<GattLink>([address, callbacks](Backend& backend) {
        return std::make_unique<GattLink>(backend.central, address, callbacks);
    });
}

void GattConnection::Connected()
{
    isUp_ = true;
    observer_.Connected();
}

void GattConnection::Ended(GattReason why)
{
    isUp_ = false;
    isDiscovered_ = false;
    AbandonAll();
    observer_.Ended(why);
}

void GattConnection::AbandonAll()
{
    for (const auto& [number, abandon] : std::exchange(abandon_, {})) {
        abandon();
    }
}

template <typename Result, typename Begin>
Completion<Result> GattConnection::Ask(Result whenEnded, Begin begin)
{
    Completion<Result> completion(scheduler_);
    if (!isUp_) {
        completion.Set(std::move(whenEnded));
        return completion;
    }
    const std::uint64_t number = ++lastOperation_;
    abandon_[number] = [completion, whenEnded] { completion.Set(whenEnded); };
    const auto done =
        upcalls_.To([number, completion](GattConnection& connection, const Result& result) {
            connection.abandon_.erase(number);
            completion.Set(result);
        });
    link_->Post([begin = std::move(begin), done](GattLink& link) { begin(link, done); });
    return completion;
}

Completion<GattStatus> GattConnection::Discover()
{
    const auto discovered =
        upcalls_.To([](GattConnection& connection) { connection.isDiscovered_ = true; });
    return Ask(GattStatus::kNotConnected, [discovered](GattLink& link, const auto& done) {
        link.Discover([discovered, done](GattStatus result) {
            if (result == GattStatus::kDone) {
                discovered();
            }
            done(result);
        });
    });
}

Completion<GattConnection::ReadResult> GattConnection::Read(const Uuid& service,
                                                            const Uuid& characteristic)
{
    return Ask(ReadResult{GattStatus::kNotConnected, {}},
               [key = GattLink::Key(service, characteristic)](GattLink& link, const auto& done) {
                   link.Read(key, [done](GattStatus result, const dbus::Bytes& value) {
                       done(ReadResult{result, value});
                   });
               });
}

Completion<GattStatus> GattConnection::Write(const Uuid& service, const Uuid& characteristic,
                                             radio::GattValue value)
{
    return Ask(GattStatus::kNotConnected,
               [key = GattLink::Key(service, characteristic), value = std::move(value)](
                   GattLink& link, const auto& done) { link.Write(key, value, done); });
}

Completion<GattStatus> GattConnection::Subscribe(const Uuid& service, const Uuid& characteristic,
                                                 bool enable)
{
    return Ask(GattStatus::kNotConnected,
               [key = GattLink::Key(service, characteristic), enable](
                   GattLink& link, const auto& done) { link.Subscribe(key, enable, done); });
}

}  // namespace

GattClient::GattClient(const Host& host, std::shared_ptr<Gate> gate)
    : host_(host), gate_(std::move(gate))
{}

std::unique_ptr<radio::GattConnection> GattClient::Connect(std::uint64_t address,
                                                           radio::GattConnectionObserver& observer)
{
    return std::make_unique<GattConnection>(host_, gate_, address, observer);
}

}  // namespace pelacon::service::linux_radios::bluetooth
