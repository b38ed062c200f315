#include <service/linux/HardwareAddress.h>
#include <service/linux/wifi/SupplicantControl.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

namespace {

constexpr std::size_t kMostAnswer = 4096;
constexpr int kMostAnswersAtOnce = 64;

/// The text up to the blank, which is removed from the text together with the blank.
std::string_view TakeWord(std::string_view& text)
{
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(text.size(), word.size() + 1));
    return word;
}

/// The number of "freq=2462" among the words.
std::uint32_t FrequencyIn(std::string_view words)
{
    constexpr std::string_view kKey = "freq=";
    while (!words.empty()) {
        const std::string_view word = TakeWord(words);
        if (word.starts_with(kKey)) {
            std::uint32_t frequency = 0;
            std::from_chars(word.data() + kKey.size(), word.data() + word.size(), frequency);
            return frequency;
        }
    }
    return 0;
}

/// Removes the level: "<3>".
std::optional<std::string_view> WithoutLevel(std::string_view text)
{
    const std::size_t end = text.find('>');
    if (!text.starts_with('<') || end == std::string_view::npos) {
        return std::nullopt;
    }
    return text.substr(end + 1);
}

}  // namespace

SupplicantEvent ReadSupplicantEvent(std::string_view text)
{
    using Kind = SupplicantEvent::Kind;
    constexpr std::array<std::pair<std::string_view, Kind>, 6> kKinds{
        {{"AP-ENABLED", Kind::kUp},
         {"AP-DISABLED", Kind::kDown},
         {"AP-STA-CONNECTED", Kind::kStationJoined},
         {"AP-STA-DISCONNECTED", Kind::kStationLeft},
         {"AP-CSA-FINISHED", Kind::kMoved},
         {"CTRL-EVENT-TERMINATING", Kind::kEnding}}};
    SupplicantEvent event;
    std::string_view rest = WithoutLevel(text).value_or(text);
    const std::string_view name = TakeWord(rest);
    for (const auto& [known, kind] : kKinds) {
        event.kind = name == known ? kind : event.kind;
    }
    if (event.kind == Kind::kMoved) {
        event.frequency = FrequencyIn(rest);
    } else if (event.kind == Kind::kStationJoined || event.kind == Kind::kStationLeft) {
        const auto station = ParseAddress(TakeWord(rest));
        event.station = station.value_or(0);
        event.kind = station ? event.kind : Kind::kOther;
    }
    return event;
}

FileDescriptor ConnectToSupplicant(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::system_error(std::make_error_code(std::errc::filename_too_long), path);
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    FileDescriptor descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // An address without a name: the kernel chooses one, which leaves no file behind.
    const sockaddr_un own{AF_UNIX, {}};
    if (!descriptor ||
        bind(descriptor.Get(), reinterpret_cast<const sockaddr*>(&own), sizeof own.sun_family) !=
            0 ||
        connect(descriptor.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
            0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return descriptor;
}

SupplicantControl::SupplicantControl(Loop& loop, FileDescriptor socket, OnEvent heard,
                                     std::chrono::milliseconds limit)
    : loop_(loop), socket_(std::move(socket)), heard_(std::move(heard)), answerLimit_(limit)
{
    loop_.Add(*this);
}

SupplicantControl::~SupplicantControl()
{
    loop_.Remove(*this);
}

void SupplicantControl::Send(std::string command, OnAnswer done)
{
    waiting_.push_back({std::move(command), std::move(done)});
    if (waiting_.size() == 1) {
        next_ = loop_.After(Loop::Duration::zero(), [this] { SendNext(); });
    }
}

void SupplicantControl::SendNext()
{
    isUnderWay_ = true;
    limit_ = loop_.After(answerLimit_, [this] { Finish(""); });
    const std::string& text = waiting_.front().text;
    if (send(socket_.Get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
        Finish("");
    }
}

void SupplicantControl::Finish(const std::string& answer)
{
    limit_.Cancel();
    isUnderWay_ = false;
    const Command command = std::move(waiting_.front());
    waiting_.pop_front();
    if (!waiting_.empty()) {
        next_ = loop_.After(Loop::Duration::zero(), [this] { SendNext(); });
    }
    command.done(answer);
}

Loop::Interest SupplicantControl::Wants()
{
    return {socket_.Get(), POLLIN, std::nullopt};
}

void SupplicantControl::Ready(short)
{
    std::array<char, kMostAnswer> datagram{};
    for (int i = 0; i < kMostAnswersAtOnce; ++i) {
        const ssize_t size = recv(socket_.Get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
        if (size > 0) {
            Take({datagram.data(), static_cast<std::size_t>(size)});
        } else if (size == 0 || errno != EINTR) {
            if (size == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) {
                loop_.Remove(*this);  // the wpa_supplicant is gone, and commands get no answer
            }
            return;
        }
    }
}

void SupplicantControl::Take(std::string_view datagram)
{
    if (datagram.ends_with('\n')) {
        datagram.remove_suffix(1);
    }
    if (WithoutLevel(datagram)) {
        heard_(ReadSupplicantEvent(datagram));
    } else if (isUnderWay_) {
        Finish(std::string(datagram));
    }
}

}  // namespace pelacon::service::linux_radios::wifi
