#include <service/base/Log.h>
#include <service/linux/bluetooth/KernelItems.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr std::string_view kAdvertisement = "advertisement";
constexpr std::string_view kMonitor = "monitor";

/// An id that differs after each boot.
std::string ReadBootId()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    std::getline(file, id);
    return id;
}

std::optional<KernelItems::Item> ParseItem(const std::string& line)
{
    std::istringstream words(line);
    std::string kind;
    KernelItems::Item item;
    if (!(words >> kind >> item.controller >> item.number) ||
        (kind != kAdvertisement && kind != kMonitor)) {
        return std::nullopt;
    }
    item.kind = kind == kMonitor ? KernelItems::Kind::kMonitor : KernelItems::Kind::kAdvertisement;
    return item;
}

/// Empty if another process has the file open.
FileDescriptor OpenLocked(const std::string& name)
{
    FileDescriptor file(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file || flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        log::Warning("cannot note in ", name, " what the kernel keeps: ", std::strerror(errno));
        return {};
    }
    return file;
}

}  // namespace

KernelItems::KernelItems(const std::string& file) : boot_(ReadBootId())
{
    if (!file.empty()) {
        file_ = OpenLocked(file);
        Read();
    }
}

void KernelItems::Add(const Item& item)
{
    if (items_.insert(item).second) {
        Write();
    }
}

void KernelItems::Remove(const Item& item)
{
    if (items_.erase(item) != 0) {
        Write();
    }
}

std::vector<KernelItems::Item> KernelItems::All(Kind kind) const
{
    std::vector<Item> all;
    std::copy_if(items_.begin(), items_.end(), std::back_inserter(all),
                 [kind](const Item& item) { return item.kind == kind; });
    return all;
}

void KernelItems::Read()
{
    struct stat status {};
    if (!file_ || fstat(file_.Get(), &status) != 0) {
        return;
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    size_ = text.size();
    if (pread(file_.Get(), text.data(), text.size(), 0) != status.st_size) {
        return;
    }
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != boot_) {
        return;
    }
    while (std::getline(lines, line)) {
        if (const auto item = ParseItem(line)) {
            items_.insert(*item);
        }
    }
}

/// In one piece, so that a service that is killed leaves either the notes before or those after.
void KernelItems::Write()
{
    if (!file_) {
        return;
    }
    std::ostringstream lines;
    lines << boot_ << '\n';
    for (const Item& item : items_) {
        lines << (item.kind == Kind::kMonitor ? kMonitor : kAdvertisement) << ' ' << item.controller
              << ' ' << item.number << '\n';
    }
    std::string text = lines.str();
    text.resize(std::max(text.size(), size_), '\n');  // over what was there before
    if (pwrite(file_.Get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size())) {
        size_ = text.size();
    } else {
        log::Warning("cannot note what the kernel keeps: ", std::strerror(errno));
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
