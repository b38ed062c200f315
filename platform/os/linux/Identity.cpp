#include <os/Identity.h>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <vector>

namespace pelacon::os {

namespace {

/// Room for the texts of an entry of the user or group database.
constexpr std::size_t kEntryRoom = 16384;

std::string NamedNumber(const char* name, unsigned number)
{
    const std::string text = std::to_string(number);
    return name != nullptr ? std::string(name) + " (" + text + ")" : text;
}

std::string UserText(uid_t user)
{
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> texts(kEntryRoom);
    getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
    return NamedNumber(found != nullptr ? found->pw_name : nullptr, user);
}

std::string GroupText(gid_t group)
{
    ::group entry{};
    ::group* found = nullptr;
    std::vector<char> texts(kEntryRoom);
    getgrgid_r(group, &entry, texts.data(), texts.size(), &found);
    return NamedNumber(found != nullptr ? found->gr_name : nullptr, group);
}

char TypeLetter(mode_t mode)
{
    return S_ISSOCK(mode) ? 's' : S_ISDIR(mode) ? 'd' : S_ISLNK(mode) ? 'l' : '-';
}

/// As `ls -l` shows it.
std::string ModeText(mode_t mode)
{
    constexpr char kLetters[] = "rwxrwxrwx";
    std::string text(1, TypeLetter(mode));
    for (unsigned bit = 0; bit < 9; ++bit) {
        text += (mode & (0400U >> bit)) != 0 ? kLetters[bit] : '-';
    }
    return text;
}

}  // namespace

std::string NameOfUser(const std::string& user)
{
    uid_t number = 0;
    const char* const end = user.data() + user.size();
    if (std::from_chars(user.data(), end, number).ptr != end || user.empty()) {
        return user.empty() ? "an unknown user" : user;
    }
    return UserText(number);
}

std::string DescribeOwnUser()
{
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
    groups.resize(static_cast<std::size_t>(
        std::max(0, getgroups(static_cast<int>(groups.size()), groups.data()))));
    std::string text = UserText(geteuid()) + ", groups " + GroupText(getegid());
    for (const gid_t group : groups) {
        text += group != getegid() ? ", " + GroupText(group) : "";
    }
    return text;
}

std::string DescribeFile(const std::string& path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return {};
    }
    return ModeText(status.st_mode) + " " + UserText(status.st_uid) + " " +
           GroupText(status.st_gid);
}

std::string DescribeSystem()
{
    utsname name{};
    uname(&name);
    return std::string(name.sysname) + " " + name.release + " " + name.machine;
}

}  // namespace pelacon::os
