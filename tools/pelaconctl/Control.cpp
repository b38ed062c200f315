#include <protocol/Operation.h>
#include <tools/pelaconctl/Control.h>

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace pelacon::ctl {

using Json = nlohmann::ordered_json;

namespace {

using Kind = IPCControlError::Kind;

constexpr auto kControlTimeout = std::chrono::seconds(5);
constexpr auto kProbeTimeout = std::chrono::seconds(2);

constexpr auto kProbe = R"({"command": "ping"})";

std::string Sentence(std::string text)
{
    if (!text.empty() && text.back() != '.') {
        text += '.';
    }
    return text;
}

}  // namespace

Failure FailureOf(const IPCControlError& error)
{
    switch (error.kind) {
        case Kind::kNoService:
            return {ExitStatus::kNoService,
                    "PelaconService is not running. Start it and try again."};
        case Kind::kNoAccess:
        case Kind::kRefused:
            return {ExitStatus::kNotAllowed, Sentence("Not allowed: " + error.message)};
        case Kind::kTimeout:
            return {ExitStatus::kNoAnswer, "PelaconService is running but does not answer."};
        case Kind::kLost:
            break;
    }
    return {ExitStatus::kNoService,
            Sentence("The connection to PelaconService was lost: " + error.message)};
}

Json Control(const Json& command)
{
    IPCControlError error{};
    const std::optional<std::string> text =
        IPCSendControl(protocol::kServicePipe, command.dump(), kControlTimeout, error);
    if (!text) {
        throw FailureOf(error);
    }
    Json answer = Json::parse(*text, nullptr, false);
    if (!answer.is_object() || !answer.contains("ok")) {
        throw Failure(ExitStatus::kFailed, "PelaconService sent an answer that is not JSON.");
    }
    if (answer["ok"] != true) {
        throw Failure(ExitStatus::kFailed,
                      Sentence("PelaconService: " + answer.value("error", "it failed")));
    }
    answer.erase("ok");
    return answer;
}

Json ParseCommand(std::string_view text)
{
    Json command = Json::parse(text, nullptr, false);
    if (!command.is_object()) {
        throw Failure(ExitStatus::kUsage,
                      R"(A command is a JSON object, such as {"command": "status"}.)");
    }
    return command;
}

void ProbeService()
{
    IPCControlError error{};
    if (!IPCSendControl(protocol::kServicePipe, kProbe, kProbeTimeout, error) &&
        error.kind != Kind::kRefused) {
        throw FailureOf(error);
    }
}

}  // namespace pelacon::ctl
