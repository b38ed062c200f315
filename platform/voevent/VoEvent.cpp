#include <os/SinkSlot.h>
#include <voevent/VoEvent.h>

namespace {

/// Lives as long as the process: threads may report until its very end.
pelacon::os::SinkSlot<const VoEvent&>& Slot()
{
    static auto& slot = *new pelacon::os::SinkSlot<const VoEvent&>;
    return slot;
}

}  // namespace

void VoView::Report(const VoEvent& event) noexcept
{
    if (Slot().IsSet()) {
        Slot().Deliver(event);
    }
}

void VoView::SetSink(Sink sink)
{
    Slot().Set(std::move(sink));
}
