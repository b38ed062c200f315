// What the kernel keeps for this service, and would keep after its end.
#pragma once

#include <service/linux/FileDescriptor.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// Advertising instances and advertisement monitors outlive the management socket that added them,
/// and the kernel does not report which program did. They are noted here, and in a file, so that
/// the next service can remove those of one that was killed. In the loop's thread.
class KernelItems {
  public:
    enum class Kind : std::uint8_t { kAdvertisement, kMonitor };

    struct Item {
        Kind kind = Kind::kAdvertisement;
        std::uint16_t controller = 0;
        std::uint16_t number = 0;  ///< the instance's, or the monitor's handle

        auto operator<=>(const Item&) const = default;  // NOLINT(modernize-use-nullptr)
    };

    /// Reads the notes of the service that used the file before: those of this boot, as nothing
    /// in the kernel outlives it. Without a name, or while another process uses the file,
    /// notes are kept in memory only.
    explicit KernelItems(const std::string& file);

    void Add(const Item& item);
    void Remove(const Item& item);
    bool Contains(const Item& item) const { return items_.contains(item); }

    /// Also those of an earlier service.
    std::vector<Item> All(Kind kind) const;

  private:
    void Read();
    void Write();

    std::set<Item> items_;
    std::string boot_;
    FileDescriptor file_;   // locked
    std::size_t size_ = 0;  // of the file
};

}  // namespace pelacon::service::linux_radios::bluetooth
