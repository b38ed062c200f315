// A stand-in of the kernel's management of Bluetooth controllers.
#pragma once

#include <service/linux/ByteReader.h>
#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>
#include <service/linux/bluetooth/Management.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/service/linux/PacketReader.h>

#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace pelacon::service::linux_radios::tests {

/// Has one controller, 0, which sends up to five advertisements. It must outlive what uses its
/// sockets.
class KernelStandIn {
  public:
    using Bytes = std::vector<std::uint8_t>;
    using Status = bluetooth::ManagementStatus;

    struct Instance {
        std::uint32_t flags = 0;
        Bytes data;
        Bytes scanResponse;
    };

    static constexpr std::uint16_t kRemoveMonitor = 0x0053;
    static constexpr std::uint16_t kAddMonitor = 0x0052;
    static constexpr std::uint16_t kAddParameters = 0x0054;

    ~KernelStandIn()
    {
        loop_.Post([this] { sockets_.clear(); });
        loop_.Stop();
    }

    /// A management socket.
    FileDescriptor Open()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
        const auto end = std::make_shared<const FileDescriptor>(ends[1]);
        loop_.Post([this, end] {
            sockets_.push_back(std::make_unique<PacketReader>(
                loop_, *end, [this, end](const Bytes& packet) { Answer(*end, packet); }));
            ends_.push_back(end);
        });
        return FileDescriptor(ends[0]);
    }

    std::map<std::uint8_t, Instance> Instances() const
    {
        const std::lock_guard lock(mutex_);
        return instances_;
    }
    std::set<std::uint16_t> Monitors() const
    {
        const std::lock_guard lock(mutex_);
        return monitors_;
    }

    // Other programs, and faults:

    void AddInstance(std::uint8_t number)
    {
        const std::lock_guard lock(mutex_);
        instances_[number] = {};
    }
    void AddMonitor(std::uint16_t handle)
    {
        const std::lock_guard lock(mutex_);
        monitors_.insert(handle);
    }
    /// What a bluetoothd that starts does.
    void RemoveMonitors()
    {
        std::set<std::uint16_t> removed;
        {
            const std::lock_guard lock(mutex_);
            removed.swap(monitors_);
        }
        for (const std::uint16_t handle : removed) {
            Bytes parameters;
            AppendNumber(parameters, handle);
            Emit(bluetooth::ManagementEventCode::kMonitorRemoved, parameters);
        }
    }
    /// Every command with this code gets this status from now on, or is performed again.
    void Refuse(std::uint16_t command, Status status)
    {
        const std::lock_guard lock(mutex_);
        refused_.erase(command);
        if (status != Status::kSuccess) {
            refused_[command] = status;
        }
    }

  private:
    void Emit(bluetooth::ManagementEventCode code, const Bytes& parameters)
    {
        loop_.Post([this, code, parameters] {
            for (const auto& end : ends_) {
                Send(*end, static_cast<std::uint16_t>(code), parameters);
            }
        });
    }

    static void Send(const FileDescriptor& end, std::uint16_t code, const Bytes& parameters)
    {
        Bytes packet;
        AppendNumber(packet, code);
        AppendNumber(packet, std::uint16_t{0});
        AppendNumber(packet, static_cast<std::uint16_t>(parameters.size()));
        packet.insert(packet.end(), parameters.begin(), parameters.end());
        send(end.Get(), packet.data(), packet.size(), MSG_NOSIGNAL);
    }

    void Answer(const FileDescriptor& end, const Bytes& packet)
    {
        constexpr std::uint16_t kCommandComplete = 0x0001;
        ByteReader reader(packet);
        const auto command = reader.Take<std::uint16_t>();
        reader.Take<std::uint16_t>();  // the controller
        reader.Take<std::uint16_t>();  // the size
        Bytes result;
        const Status status = Perform(command, reader, result);
        Bytes reply;
        AppendNumber(reply, command);
        reply.push_back(static_cast<std::uint8_t>(status));
        reply.insert(reply.end(), result.begin(), result.end());
        Send(end, kCommandComplete, reply);
    }

    Status Perform(std::uint16_t command, ByteReader& parameters, Bytes& result)
    {
        constexpr std::uint16_t kAddData = 0x0055;
        const std::lock_guard lock(mutex_);
        if (const auto refused = refused_.find(command); refused != refused_.end()) {
            return refused->second;
        }
        switch (command) {
            case bluetooth::kReadAdvertisingFeatures:
                AppendNumber(result, std::uint32_t{0x0001F07F});
                result.insert(result.end(), {31, 31, 5});
                result.push_back(static_cast<std::uint8_t>(instances_.size()));
                for (const auto& [number, instance] : instances_) {
                    result.push_back(number);
                }
                return Status::kSuccess;
            case kAddParameters: {
                const auto number = parameters.Take<std::uint8_t>();
                instances_[number] = {parameters.Take<std::uint32_t>(), {}, {}};
                return Status::kSuccess;
            }
            case kAddData: {
                Instance& instance = instances_[parameters.Take<std::uint8_t>()];
                const auto size = parameters.Take<std::uint8_t>();
                const auto responseSize = parameters.Take<std::uint8_t>();
                const auto data = parameters.TakeBytes(size);
                const auto response = parameters.TakeBytes(responseSize);
                instance.data.assign(data.begin(), data.end());
                instance.scanResponse.assign(response.begin(), response.end());
                return Status::kSuccess;
            }
            case bluetooth::kRemoveAdvertising:
                return instances_.erase(parameters.Take<std::uint8_t>()) != 0
                           ? Status::kSuccess
                           : Status::kInvalidParameters;
            case kAddMonitor: {
                std::uint16_t handle = 1;
                while (!monitors_.insert(handle).second) {
                    ++handle;
                }
                AppendNumber(result, handle);
                return Status::kSuccess;
            }
            case kRemoveMonitor:
                return monitors_.erase(parameters.Take<std::uint16_t>()) != 0
                           ? Status::kSuccess
                           : Status::kInvalidParameters;
            default:
                return Status::kUnknownCommand;
        }
    }

    mutable std::mutex mutex_;  // guards the next three
    std::map<std::uint8_t, Instance> instances_;
    std::set<std::uint16_t> monitors_;
    std::map<std::uint16_t, Status> refused_;

    Complaints complaints_;
    // In its thread:
    std::vector<std::shared_ptr<const FileDescriptor>> ends_;
    std::vector<std::unique_ptr<PacketReader>> sockets_;
    Loop loop_{[this](std::string_view text) { complaints_.Add(text); }};
};

}  // namespace pelacon::service::linux_radios::tests
