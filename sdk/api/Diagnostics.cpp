#include <LogHelper/KvLogger.h>
#include <PelaconSDK/Diagnostics.h>
#include <os/Utf8.h>
#include <sdk/api/CEntry.h>
#include <voevent/VoEvent.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

PelaconEventEntry EntryOf(const VoEvent::Entry& entry)
{
    PelaconEventEntry result{entry.first.c_str(), nullptr, 0};
    if (const auto* number = std::get_if<std::int32_t>(&entry.second)) {
        result.number = *number;
    } else if (const auto* longNumber = std::get_if<std::int64_t>(&entry.second)) {
        result.number = *longNumber;
    } else {
        result.text = std::get<std::string>(entry.second).c_str();
    }
    return result;
}

}  // namespace

void PelaconSetLogSink(PelaconLogSink sink, void* context, PelaconLogLevel lowest)
{
    pelacon::CEntry(0, [&] {
        if (sink == nullptr) {
            KvLogger::GetInstance().SetSink({});
            return 0;
        }
        KvLogger::GetInstance().SetSink(
            [sink, context](LOG_MESSAGE_LEVEL level, std::wstring_view line) {
                sink(context, static_cast<PelaconLogLevel>(level), pelacon::os::Utf8(line).c_str());
            },
            static_cast<LOG_MESSAGE_LEVEL>(lowest));
        return 0;
    });
}

void PelaconSetEventSink(PelaconEventSink sink, void* context)
{
    pelacon::CEntry(0, [&] {
        if (sink == nullptr) {
            VoView::SetSink({});
            return 0;
        }
        VoView::SetSink([sink, context](const VoEvent& event) {
            std::vector<PelaconEventEntry> entries;
            for (const VoEvent::Entry& entry : event.Entries()) {
                entries.push_back(EntryOf(entry));
            }
            sink(context, event.EventId(), entries.data(),
                 static_cast<std::uint32_t>(entries.size()));
        });
        return 0;
    });
}
