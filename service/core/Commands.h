// Commands that operators send to a running service.
#pragma once

#include <json/Output.h>
#include <json/Reader.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace pelacon::service {

/// Commands by name. A command is a JSON object such as {"command": "disconnect", "client": 3}. Its
/// answer is an object with "ok", and with "error" if that is false, and "invalid" if that is
/// because of the command itself. A single word is a command without fields.
class Commands {
  public:
    /// Executes the command and adds fields to the answer. Called with the scheduler's lock held.
    using Action = std::function<void(json::Output& answer)>;

    /// Reads all of the command's fields, and returns the action.
    using Command = std::function<Action(json::Fields& fields)>;

    void Add(const std::string& name, const std::string& summary, Command command);

    /// Adds a command without fields.
    void Add(const std::string& name, const std::string& summary, Action action);

    /// Executes a command and returns its answer. Does not throw: the answer contains the error.
    std::string Run(std::string_view text) const;

  private:
    struct Entry {
        std::string summary;
        Command command;
    };

    Action Read(std::string_view text) const;
    void Describe(json::Output& answer) const;

    std::map<std::string, Entry> commands_;
};

}  // namespace pelacon::service
