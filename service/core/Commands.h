// What an operator can have a running service do.
#pragma once

#include <json/Reader.h>

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace pelacon::service {

/// Commands by name. A command is a JSON object such as {"command": "disconnect", "client": 3}; its
/// answer is one too, with "ok" in it, and with "error" where that is false. A word alone is a
/// command without fields.
class Commands {
  public:
    /// Does it, and returns the fields of the answer. Runs under the world's lock.
    using Action = std::function<nlohmann::json()>;

    /// Reads the command's fields (all of them, before anything is done) and returns the action.
    using Command = std::function<Action(json::Fields& fields)>;

    void Add(const std::string& name, const std::string& summary, Command command);

    /// Runs a command's text. Never throws: what goes wrong is in the answer.
    std::string Run(std::string_view text) const;

  private:
    struct Entry {
        std::string summary;
        Command command;
    };

    Action Read(std::string_view text) const;
    nlohmann::json Describe() const;

    std::map<std::string, Entry> commands_;
};

}  // namespace pelacon::service
