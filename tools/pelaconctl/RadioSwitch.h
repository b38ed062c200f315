// Switching a radio on or off, and waiting for the change: `bt on`, `wifi off` and so on.
#pragma once

#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/EventQueue.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/LibrarySession.h>
#include <tools/pelaconctl/OptionValues.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace pelacon::ctl {

/// A change of a radio's state, posted by its callback.
struct RadioState {
    std::int32_t state;
};

/// Requests the change and waits until the radio has made it. A Radio has a kName, kOn and kOff
/// (its states), State, StateName and Request; while it lives, it posts each RadioState.
template <typename Radio>
void SwitchRadio(bool on, double seconds, const Console& console)
{
    const LibrarySession session;
    const std::int32_t wanted = on ? Radio::kOn : Radio::kOff;
    const std::string radio = Radio::kName;
    const std::string name = Radio::StateName(wanted);
    const auto report = [&](const std::string& line) {
        console.Report({{"state", name}}, radio + " is " + line + ".");
    };
    if (Radio::State() == wanted) {
        return report(name + " already");
    }
    const Radio changes;
    Radio::Request(on);
    const auto deadline = After(seconds);
    std::int32_t state = Radio::State();
    while (state != wanted) {
        const auto change = Events<RadioState>().Next(deadline);
        if (!change) {
            throw Failure(ExitStatus::kNoAnswer, std::string(radio)
                                                     .append(" is still ")
                                                     .append(Radio::StateName(state))
                                                     .append(", though the request to switch it ")
                                                     .append(name)
                                                     .append(" was accepted."));
        }
        state = change->state;
    }
    report(name);
}

/// Adds the subcommands "on" and "off". `what` is what they switch: "the adapter".
template <typename Radio>
void AddSwitch(CLI::App& parent, const std::string& what, const Console& console)
{
    for (const bool on : {true, false}) {
        const std::string name = Radio::StateName(on ? Radio::kOn : Radio::kOff);
        const auto seconds = std::make_shared<double>(10.0);
        CLI::App* const command = parent.add_subcommand(name, std::string("Switch ")
                                                                  .append(what)
                                                                  .append(" ")
                                                                  .append(name)
                                                                  .append(", and wait until it is ")
                                                                  .append(name));
        AddWait(*command, *seconds, "Seconds to wait for the change");
        command->callback([&console, on, seconds] { SwitchRadio<Radio>(on, *seconds, console); });
    }
}

}  // namespace pelacon::ctl
