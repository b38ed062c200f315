#include <os/Singleton.h>
#include <os/SinkSlot.h>
#include <voevent/VoEvent.h>

namespace {

using EventSlot = pelacon::os::SinkSlot<const VoEvent&>;

EventSlot& Slot()
{
    static constinit pelacon::os::Singleton<EventSlot> slot;
    return slot.Get([] { return new EventSlot; });
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
