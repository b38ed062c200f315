#include <service/core/Commands.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace pelacon::service {

namespace {

bool IsOfWord(char character)
{
    return (character >= 'a' && character <= 'z') || character == '.';
}

}  // namespace

void Commands::Add(const std::string& name, const std::string& summary, Command command)
{
    commands_.emplace(name, Entry{summary, std::move(command)});
}

void Commands::Add(const std::string& name, const std::string& summary, Action action)
{
    Add(name, summary, [action = std::move(action)](json::Fields&) { return action; });
}

std::string Commands::Run(std::string_view text) const
{
    json::Output answer;
    Action action;
    try {
        action = Read(text);
        action(answer);
        answer["ok"] = true;
    } catch (const std::exception& failure) {
        answer = {{"ok", false}, {"error", failure.what()}};
        if (!action) {
            answer["invalid"] = true;
        }
    }
    return json::Write(answer);
}

Commands::Action Commands::Read(std::string_view text) const
{
    Action action;
    const bool isWord = std::all_of(text.begin(), text.end(), IsOfWord);
    const json::Document document = json::Parse(
        isWord ? R"({"command":")" + std::string(text) + "\"}" : std::string(text), "command");
    json::Reader(document).Object([&](json::Fields& fields) {
        const json::Reader field = fields.Required("command");
        const std::string name = field.Text(1, 64);
        if (name == "help") {
            action = [this](json::Output& answer) { Describe(answer); };
            return;
        }
        const auto found = commands_.find(name);
        if (found == commands_.end()) {
            field.Fail("there is no command \"" + name + "\"; {\"command\": \"help\"} lists them");
        }
        action = found->second.command(fields);
    });
    return action;
}

void Commands::Describe(json::Output& answer) const
{
    json::Output& list = answer["commands"];
    for (const auto& [name, entry] : commands_) {
        list[name] = entry.summary;
    }
}

}  // namespace pelacon::service
