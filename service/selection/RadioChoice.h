// Which radios the service uses: simulated or real ones.
#pragma once

#include <string>
#include <string_view>

namespace pelacon::service {

struct RadioChoice {
    struct One {
        bool isReal = false;
        std::string adapter;  ///< the operating system's name of it; empty: the first one

        bool operator==(const One&) const = default;
    };
    One bluetooth;
    One wifi;
    bool pairs = false;  ///< real Bluetooth, with devices for which no human is needed

    bool IsAnyReal() const noexcept { return bluetooth.isReal || wifi.isReal; }
    bool operator==(const RadioChoice&) const = default;
};

/// Reads "simulated", "linux" (both radios are real), or a list such as
/// "bluetooth=linux:hci1,wifi=simulated"; a radio that the list leaves out is simulated. Throws
/// std::invalid_argument with what is wrong.
RadioChoice ReadRadioChoice(std::string_view text);

}  // namespace pelacon::service
