// The control socket of a wpa_supplicant.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace pelacon::service::linux_radios::wifi {

/// What a wpa_supplicant reports of its access point.
struct SupplicantEvent {
    enum class Kind : std::uint8_t {
        kOther,
        kUp,             ///< the access point is there
        kDown,           ///< it is gone
        kStationJoined,  ///< with its address
        kStationLeft,    ///< likewise
        kMoved,          ///< to another frequency
        kEnding,         ///< the wpa_supplicant ends
    };
    Kind kind = Kind::kOther;
    std::uint64_t station = 0;
    std::uint32_t frequency = 0;  ///< in MHz
};

/// Decodes "<3>AP-STA-CONNECTED 02:00:00:00:01:00" and the like.
SupplicantEvent ReadSupplicantEvent(std::string_view text);

/// A socket that is connected to a control socket. Throws std::system_error where there is none.
FileDescriptor ConnectToSupplicant(const std::string& path);

/// Commands go one after the other, each answered within a bounded time. In the loop's thread.
class SupplicantControl : private Loop::Source {
  public:
    /// Called with each event, once events have been asked for ("ATTACH"); must not destroy the
    /// socket.
    using OnEvent = std::function<void(const SupplicantEvent&)>;
    /// Called with the answer without the end of its line; empty if there is none. Must not destroy
    /// the socket.
    using OnAnswer = std::function<void(const std::string&)>;

    static constexpr std::chrono::seconds kLimit{2};

    /// Takes a socket of ConnectToSupplicant, or a stand-in of it.
    SupplicantControl(Loop& loop, FileDescriptor socket, OnEvent heard,
                      std::chrono::milliseconds limit = kLimit);
    ~SupplicantControl() override;

    /// `done` is called once, later, as long as this exists.
    void Send(std::string command, OnAnswer done);

  private:
    struct Command {
        std::string text;
        OnAnswer done;
    };

    Loop::Interest Wants() override;
    void Ready(short events) override;
    void SendNext();
    void Take(std::string_view datagram);
    void Finish(const std::string& answer);

    Loop& loop_;
    FileDescriptor socket_;
    OnEvent heard_;
    std::chrono::milliseconds answerLimit_;
    std::deque<Command> waiting_;  // the first one is under way if isUnderWay_
    bool isUnderWay_ = false;
    Loop::Timer next_;
    Loop::Timer limit_;
};

}  // namespace pelacon::service::linux_radios::wifi
