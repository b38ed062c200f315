#include <voevent/VoEvent.h>

// The library exports these two for programs that use the event library's variadic helpers against
// it; it never calls them.

void VoView::VariadicKVPairs(Payload& payload, std::string& key, std::string value, int flag)
{
    if ((flag & 1) != 0) {
        payload.Insert(key, value);
    } else {
        key = std::move(value);
    }
    value.clear();
}

void VoView::VariadicKVPairs(Payload& payload, std::string& key, const char* value, int flag)
{
    VariadicKVPairs(payload, key, std::string(value != nullptr ? value : ""), flag);
}
