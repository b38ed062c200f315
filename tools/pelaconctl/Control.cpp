#include <protocol/Operation.h>
#include <tools/pelaconctl/Control.h>

#include <nlohmann/json.hpp>

#include <algorithm>
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
                    "PelaconService is not running. Start it and try again; pelaconctl doctor "
                    "shows where it is expected."};
        case Kind::kNoAccess:
        case Kind::kRefused:
            return {ExitStatus::kNotAllowed, Sentence("Not allowed: " + error.message)};
        case Kind::kTimeout:
            return {ExitStatus::kNoAnswer, "PelaconService is running but does not answer."};
        case Kind::kLost:
            break;
    }
    return {ExitStatus::kNoService,
            Sentence("The connection to PelaconService was lost: " + error.message) +
                " Either it has ended, or it does not serve this user: see pelaconctl doctor."};
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
        throw Failure(answer.value("invalid", false) ? ExitStatus::kUsage : ExitStatus::kFailed,
                      Sentence("PelaconService: " + answer.value("error", "it failed")));
    }
    answer.erase("ok");
    return answer;
}

Json ParseCommand(std::string_view text)
{
    const auto isOfName = [](char character) {
        return (character >= 'a' && character <= 'z') || character == '.';
    };
    if (!text.empty() && std::ranges::all_of(text, isOfName)) {
        return {{"command", text}};
    }
    Json command = Json::parse(text, nullptr, false);
    if (!command.is_object()) {
        throw Failure(ExitStatus::kUsage,
                      "A command is a JSON object, such as {\"command\": \"fault.remove\", "
                      "\"number\": 1}, or a name, such as status.");
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

std::string ServiceVersion()
{
    Json answer = Control({{"command", "ping"}});
    if (!answer.contains("version")) {  // an older service
        answer = Control({{"command", "status"}});
    }
    const auto version = answer.find("version");
    if (version == answer.end() || !version->is_string()) {
        throw Failure(ExitStatus::kFailed, "The service does not tell its version.");
    }
    return *version;
}

}  // namespace pelacon::ctl
