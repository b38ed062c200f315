// Users, files and the system, as text for people.
#pragma once

#include <string>

namespace pelacon::os {

/// A user's name and number, such as "pelacon (994)". `user` is its number on Linux and its SID on
/// Windows, as text; without a name it is returned as it is, and "an unknown user" if it is empty.
std::string NameOfUser(const std::string& user);

/// The user of this process, and its groups: "ada (1000), groups ada (1000), pelacon (994)".
std::string DescribeOwnUser();

/// Owner, group and rights of a file: "srw-rw---- root (0) pelacon (994)". Empty where there is no
/// such file, where its folder must not be read, and on Windows.
std::string DescribeFile(const std::string& path);

/// Name and release of the operating system.
std::string DescribeSystem();

}  // namespace pelacon::os
