// The fixture of the tests with several real users. They need root.
#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace pelacon::test {

/// A user of the system, with a group of its own.
struct User {
    uid_t id = 0;
    gid_t group = 0;
};

/// Each test has two users besides root: Ada, and Mallory, who attacks. They are removed when the
/// test program ends, however it ends. The program has a /run of its own, and the programs that it
/// starts share it.
class SecurityTest : public ::testing::Test {
  protected:
    /// Skips the test without root, and where a /run of its own is not allowed.
    void SetUp() override;

    static const User kRoot;
    static const User& Ada();
    static const User& Mallory();

    /// Runs a program as the user. PELACON_RUNTIME_DIR is the folder if there is one; otherwise
    /// services and clients use the places of the system. See AsUser.cpp for the namespaces.
    static std::unique_ptr<ChildProcess> Run(const User& user, const std::string& program,
                                             const std::vector<std::string>& arguments,
                                             const std::string& folder = "",
                                             const std::string& namespaces = "none");

    /// Peer.cpp in the role that the first argument is.
    static std::unique_ptr<ChildProcess> Peer(const User& user,
                                              const std::vector<std::string>& arguments,
                                              const std::string& folder = "",
                                              const std::string& namespaces = "none")
    {
        return Run(user, PELACON_SECURITY_PEER, arguments, folder, namespaces);
    }

    /// The first line of Peer.cpp in that role; "nothing" where it writes none.
    static std::string Outcome(const User& user, const std::string& role,
                               const std::string& folder = "",
                               const std::string& namespaces = "none");

    /// What becomes of a command that the user sends to the service in the folder, without the
    /// checks of the library: "obeyed", "refused" or "closed".
    static std::string Intrusion(const User& user, const std::string& folder,
                                 const std::string& namespaces = "none");

    /// PelaconService, on the pipe of Peer.cpp.
    static std::unique_ptr<ChildProcess> Service(const User& user, const std::string& folder = "",
                                                 const std::string& namespaces = "none");

    /// Why a service does not start; empty if it does.
    static std::string Refusal(const User& user, const std::string& folder,
                               const std::string& namespaces = "none");

    /// Waits until it accepts connections.
    static bool IsReady(ChildProcess& service);

    /// A new folder that has this owner and mode.
    std::string Folder(const std::string& name, const User& owner, mode_t mode) const;

    static void Own(const std::string& path, const User& owner);

    static std::string Socket(const std::string& folder) { return folder + "/ChannelTest.sock"; }

    TemporaryFolder files;
};

}  // namespace pelacon::test
