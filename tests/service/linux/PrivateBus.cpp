#include <tests/service/linux/PrivateBus.h>
#include <tests/service/linux/StandInPath.h>
#include <tests/support/RuntimeFolder.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>

namespace pelacon::service::linux_radios::tests {

namespace {

constexpr const char* kVariable = "DBUS_SYSTEM_BUS_ADDRESS";

constexpr const char* kConfiguration = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:tmpdir=/tmp</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

ChildProcess::Options WithInput()
{
    ChildProcess::Options options;
    options.input = true;
    return options;
}

}  // namespace

PrivateBus::PrivateBus()
{
    const std::string configuration = folder_.File("bus.conf");
    std::ofstream(configuration) << kConfiguration;
    const std::string address = "unix:path=" + folder_.File("bus");
    daemon_.emplace(
        PELACON_DBUS_DAEMON,
        std::vector<std::string>{"--config-file=" + configuration, "--nofork", "--nopidfile",
                                 "--nosyslog", "--address=" + address, "--print-address=1"});
    if (!daemon_->NextLine()) {
        throw std::runtime_error("dbus-daemon does not start: " + daemon_->Errors());
    }
    test::SetVariable(kVariable, address);
}

PrivateBus::~PrivateBus()
{
    test::SetVariable(kVariable, {});
}

void PrivateBus::Kill()
{
    daemon_->Kill();
    daemon_->Wait();
}

std::string PathOfStandIn(const std::string& script)
{
    return std::string(PELACON_STAND_INS) + "/" + script;
}

StandIn::StandIn(const std::string& script)
    : process_(PELACON_SYSTEM_PYTHON, {"-B", PathOfStandIn(script)},
               WithInput())  // -B: the tree stays free of compiled modules
{
    if (process_.NextLine() != "ready") {
        throw std::runtime_error(script + " does not start: " + process_.Errors());
    }
}

nlohmann::json StandIn::Do(const nlohmann::json& command)
{
    process_.Write(command.dump());
    const auto answer = process_.NextLine();
    if (!answer) {
        throw std::runtime_error("the stand-in has ended: " + process_.Errors());
    }
    nlohmann::json result = nlohmann::json::parse(*answer);
    EXPECT_FALSE(result.is_object() && result.contains("failed")) << result << " to " << command;
    return result;
}

void StandIn::Kill()
{
    process_.Kill();
    process_.Wait();
}

}  // namespace pelacon::service::linux_radios::tests
