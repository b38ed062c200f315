// pelaconctl doctor: everything about the service's whereabouts, in one report.
#include <PelaconSDK/PelaconSDK.h>
#include <os/Environment.h>
#include <os/Identity.h>
#include <os/Processes.h>
#include <protocol/Operation.h>
#include <tools/pelaconctl/Diagnosis.h>
#include <tools/pelaconctl/Notifications.h>
#include <tools/pelaconctl/Program.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <filesystem>

namespace pelacon::ctl {

namespace {

constexpr auto kPatience = std::chrono::seconds(2);

constexpr const char* kVariables[] = {"PELACON_RUNTIME_DIR", "XDG_RUNTIME_DIR",
                                      "PELACON_SERVICE_PATH", "PELACON_LOG"};

/// A value, or why it is not known.
struct Answer {
    Json value;
    std::string failure;
};

/// What `ask` returns, or the sentence with which it fails.
template <typename Ask>
Answer Try(const Ask& ask)
{
    try {
        return {ask(), ""};
    } catch (const Failure& failure) {
        return {Json(), failure.what()};
    }
}

/// The path of a process's program, as far as this user may know it.
std::string ProgramOf(std::uint32_t processId)
{
    std::string found;
    os::VisitProcessPaths([&](std::uint32_t id, const std::string& path) {
        found = id == processId ? path : found;
        return found.empty();
    });
    return found;
}

std::string TextOr(const Answer& answer)
{
    return answer.value.is_string() ? answer.value.get<std::string>() : answer.failure;
}

/// The state of the radios, as every program may ask for it.
Json AskRadios()
{
    const LibrarySession session;
    const SystemApiWifiState wifi = WifiSystemApi::GetInstance().GetWifiState();
    return {{"bluetooth", BtStateName(GetBtRunningState())},
            {"wifi", NameOf(wifi, {{kWifiStateOff, "off"}, {kWifiStateOn, "on"}}, "unknown")}};
}

/// Collects the report, as rows for people and as a record for programs.
class Report {
  public:
    Report()
        : places_(IPCExaminePlaces(protocol::kServicePipe, kPatience)), verdict_(Judge(places_))
    {
        AddSurroundings();
        AddPlaces();
        AddService();
    }

    const Verdict& GetVerdict() const { return verdict_; }

    void Show(const Console& console) const
    {
        Json record{{"ok", verdict_.status == ExitStatus::kDone},
                    {"verdict", verdict_.sentence},
                    {"remarks", remarks_}};
        record.update(record_);
        std::string text = console.Styled(Console::Style::kBold, verdict_.sentence);
        for (const std::string& remark : remarks_) {
            text += "\n" + remark;
        }
        console.Report(record, text + console.Rows(rows_));
    }

  private:
    void Add(const std::string& title, const std::string& text) { rows_.emplace_back(title, text); }

    void AddSurroundings()
    {
        record_["system"] = os::DescribeSystem();
        record_["user"] = os::DescribeOwnUser();
        Add("System", os::DescribeSystem());
        Add("User", os::DescribeOwnUser());
        Json& environment = record_["environment"] = Json::object();
        std::string title = "Environment";
        for (const char* name : kVariables) {
            const auto value = os::EnvironmentVariable(name);
            environment[name] = value ? Json(*value) : Json();
            if (value) {
                Add(title, std::string(name) + "=" + Printable(*value));
                title.clear();
            }
        }
    }

    void AddPlaces()
    {
        Json& list = record_["places"] = Json::array();
        for (const IPCPlace& place : places_) {
            const std::string file = os::DescribeFile(place.path);
            const bool isKnown = place.processId != 0;
            list.push_back({{"path", place.path},
                            {"state", PlaceText(place)},
                            {"file", file.empty() ? Json() : Json(file)},
                            {"process", isKnown ? Json(place.processId) : Json()},
                            {"user", isKnown ? Json(os::NameOfUser(place.user)) : Json()}});
            Add(list.size() == 1 ? "Places" : "", place.path);
            Add("", PlaceText(place));
            if (!file.empty()) {
                Add("", file);
            }
            if (place.state == IPCPlace::State::kServed && paths_.running.empty()) {
                paths_.running = ProgramOf(place.processId);
            }
        }
    }

    void AddService()
    {
        std::error_code ignored;
        paths_.expected = PelaconGetServicePath();
        paths_.exists = std::filesystem::exists(paths_.expected, ignored);
        record_["program"] = {{"expected", paths_.expected},
                              {"exists", paths_.exists},
                              {"running", paths_.running.empty() ? Json() : Json(paths_.running)}};
        Add("Expected", paths_.expected + (paths_.exists ? "" : " (there is no such file)"));
        Add("Running", paths_.running.empty() ? "unknown" : paths_.running);

        const bool isThere = verdict_.status == ExitStatus::kDone;
        const auto ask = [&](const auto& question) {
            return isThere ? Try(question) : Answer{Json(), "unknown"};
        };
        const Answer version = ask([] { return Json(ServiceVersion()); });
        record_["versions"] = {{"pelaconctl", ProgramVersion()},
                               {"library", PelaconGetVersion()},
                               {"service", version.value}};
        Add("Versions", "pelaconctl " + ProgramVersion() + ", library " + PelaconGetVersion() +
                            ", service: " + TextOr(version));
        remarks_ = Remarks(paths_, PelaconGetVersion(),
                           version.value.is_string() ? version.value.get<std::string>() : "");

        // Before the library is started, which makes this program a client.
        const Answer status = ask([] { return Control({{"command", "status"}}); });
        const Answer radios = ask(&AskRadios);
        record_["radios"] = radios.value;
        record_["status"] = status.value;
        Add("Radios", radios.value.is_null() ? radios.failure : FieldsLine(radios.value));
        AddStatus(status);
    }

    void AddStatus(const Answer& status)
    {
        if (status.value.is_null()) {
            return Add("Clients", status.failure);
        }
        const Json radios = status.value.value("radios", Json::object());
        for (const auto& [radio, fields] : radios.items()) {
            Add("", radio + ": " + FieldsLine(fields));
        }
        const Json clients = status.value.value("clients", Json::array());
        Add("Clients", clients.empty() ? "none" : std::to_string(clients.size()));
        for (const Json& client : clients) {
            Add("", FieldsLine(client) +
                        " program=" + ProgramOf(client.value("pid", std::uint32_t{0})));
        }
        Add("Faults",
            std::to_string(status.value.value("faults", Json::array()).size()) + " in force");
    }

    std::vector<IPCPlace> places_;
    Verdict verdict_;
    ProgramPaths paths_;
    std::vector<std::string> remarks_;
    Json record_ = Json::object();
    std::vector<Console::Row> rows_;
};

}  // namespace

void AddDoctorCommand(CLI::App& program, const Console& console)
{
    CLI::App* const doctor = program.add_subcommand(
        "doctor", "Show where the service is expected, who listens, and what is wrong");
    doctor->footer(
        "The report has everything that a question about the service needs; attach it to a bug "
        "report.\n"
        "The exit status is the one with which other commands end for the same reason.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl doctor\n"
        "  pelaconctl doctor --json > report.json\n");
    doctor->callback([&console] {
        const Report report;
        report.Show(console);
        const Verdict& verdict = report.GetVerdict();
        if (verdict.status != ExitStatus::kDone) {
            throw Failure(verdict.status, verdict.sentence);
        }
    });
}

}  // namespace pelacon::ctl
