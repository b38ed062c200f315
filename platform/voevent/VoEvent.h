// Diagnostic events: a record of key/value pairs under an event id, and where it is reported to.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#if defined(_WIN32)
#define VOEVENT_EXPORT __declspec(dllexport)
#else
#define VOEVENT_EXPORT __attribute__((visibility("default")))
#endif

/// One diagnostic event. Entries keep the order in which they were put.
class VoEvent {
  public:
    using Value = std::variant<std::int32_t, std::int64_t, std::string>;
    using Entry = std::pair<std::string, Value>;

    explicit VoEvent(std::int32_t eventId) : eventId_(eventId) {}

    void PutInt(const std::string& key, std::int32_t value) { entries_.emplace_back(key, value); }
    void PutLong(const std::string& key, std::int64_t value) { entries_.emplace_back(key, value); }
    void PutString(const std::string& key, const std::string& value)
    {
        entries_.emplace_back(key, value);
    }

    std::int32_t EventId() const noexcept { return eventId_; }
    const std::vector<Entry>& Entries() const noexcept { return entries_; }

  private:
    std::int32_t eventId_;
    std::vector<Entry> entries_;
};

/// Key/value container that variadic event helpers fill.
class Payload {
  public:
    void Insert(const std::string& key, const std::string& value)
    {
        pairs_.emplace_back(key, value);
    }
    const std::vector<std::pair<std::string, std::string>>& Pairs() const noexcept
    {
        return pairs_;
    }

  private:
    std::vector<std::pair<std::string, std::string>> pairs_;
};

/// Where events are reported to. Events go nowhere until a sink is set. Safe from any thread.
class VoView {
  public:
    /// Takes an event; it is valid during the call. Called concurrently, without a lock held.
    using Sink = std::function<void(const VoEvent& event)>;

    /// Delivers the event to the sink, if there is one. Never throws; what a sink throws, or
    /// reports itself, is dropped.
    static void Report(const VoEvent& event) noexcept;

    /// Sets the sink; an empty one takes the last away. When this returns, the last one is not
    /// called any more (unless this is called from inside it).
    static void SetSink(Sink sink);

  private:
    friend struct VoViewAccess;

    // The closing step of a variadic key/value recursion. Not used by the library itself, and not
    // defined by this one: the module that instantiates the recursion exports both. With bit 0 of
    // the flag the pair goes into the payload; without it the value's text becomes the key of the
    // step to come.
    VOEVENT_EXPORT static void VariadicKVPairs(Payload& payload, std::string& key,
                                               std::string value, int flag);
    VOEVENT_EXPORT static void VariadicKVPairs(Payload& payload, std::string& key,
                                               const char* value, int flag);
};
