#include <tests/reliability/LoadClient.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>

namespace pelacon::test {

LoadClient::LoadClient(const std::string& program, std::vector<std::string> environment)
    : process_(program, {}, {.input = true, .environment = std::move(environment)})
{}

bool LoadClient::IsReady()
{
    const auto line = process_.NextLine();
    if (!line || !line->starts_with("listener ")) {
        return false;
    }
    listener_ = std::stoi(line->substr(line->find(' ')));
    return Writes("ready");
}

std::string LoadClient::ScanResult() const
{
    std::ostringstream digits;
    for (int shift = 0; shift < 32; shift += 8) {
        digits << std::hex << std::setw(2) << std::setfill('0')
               << ((static_cast<std::uint32_t>(listener_) >> shift) & 0xFFU);
    }
    return digits.str();
}

bool LoadClient::Writes(const std::string& expected, std::chrono::milliseconds patience)
{
    std::optional<std::string> line;
    do {
        line = process_.NextLine(patience);
    } while (line && *line != expected);
    return line.has_value();
}

std::optional<std::string> LoadClient::LineOf(const std::vector<std::string>& words,
                                              std::chrono::milliseconds patience)
{
    while (auto line = process_.NextLine(patience)) {
        if (std::ranges::any_of(words, [&](const auto& word) { return line->starts_with(word); })) {
            return line;
        }
    }
    return std::nullopt;
}

nlohmann::json LoadClient::Report()
{
    process_.Write("report");
    if (const auto line = LineOf({"{"})) {
        return nlohmann::json::parse(*line);
    }
    ADD_FAILURE() << "the client has ended: " << process_.Errors();
    return {};
}

std::string LoadClient::Progress(std::chrono::steady_clock::time_point begin,
                                 const nlohmann::json& report)
{
    const auto since = [&](const char* name) {
        return report[name].get<std::uint64_t>() - last_.value(name, std::uint64_t{0});
    };
    const auto elapsed = std::chrono::steady_clock::now() - begin;
    std::ostringstream text;
    text << std::chrono::duration_cast<std::chrono::seconds>(elapsed).count()
         << " s: " << since("answered") << " answers, " << since("failed") << " calls failed, "
         << since("scanResults") << " scan results; in all " << report["wrong"]
         << " wrong, slowest " << report["slowestMs"] << " ms";
    last_ = report;
    return text.str();
}

void LoadClient::Kill()
{
    process_.Kill();
    process_.Wait();
}

int LoadClient::End()
{
    process_.Write("end");
    return process_.Wait();
}

void ExpectInTime(const nlohmann::json& report, WakeUps& wakeUps)
{
    constexpr std::chrono::milliseconds kOverdue{100};
    constexpr int kWakeUps = 4;  // in a row, as in KeepsTo
    const auto late = std::chrono::ceil<std::chrono::milliseconds>(wakeUps.Latest());
    EXPECT_LE(report["overdueMs"], (kOverdue + kWakeUps * late).count())
        << "with wake-ups up to " << late.count() << " ms late";
}

}  // namespace pelacon::test
