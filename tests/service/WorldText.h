// World files as text.
#pragma once

#include <service/simulation/WorldFile.h>

#include <string>

namespace pelacon::service::tests {

inline simulation::WorldFile Read(const std::string& text)
{
    return simulation::ReadWorldFile(text, "world.json");
}

/// The error message for the world; empty if the world is valid.
inline std::string Complaint(const std::string& text)
{
    try {
        Read(text);
    } catch (const json::Error& error) {
        return error.what();
    }
    return "none";
}

}  // namespace pelacon::service::tests
