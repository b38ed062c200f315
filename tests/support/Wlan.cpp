#include <os/Wlan.h>
#include <tests/support/Journal.h>
#include <tests/support/Wlan.h>

#include <mutex>
#include <string>
#include <utility>

namespace pelacon::os {

/// A handle, with its number.
struct WlanClient {
    int number;
};

}  // namespace pelacon::os

namespace pelacon::test {

namespace {

struct State {
    std::mutex mutex;
    int handle = 1;
    std::optional<int> interfaces = 0;
    std::function<void()> openHook;
};

State& TheState()
{
    static State& state = *new State;
    return state;
}

class ScriptedInterfaces : public os::WlanInterfaces {
  public:
    explicit ScriptedInterfaces(int count) : count_(count) {}
    ~ScriptedInterfaces() override { Journal::Note("wlan free"); }
    ScriptedInterfaces(const ScriptedInterfaces&) = delete;
    ScriptedInterfaces& operator=(const ScriptedInterfaces&) = delete;

    std::size_t Count() const override { return static_cast<std::size_t>(count_); }
    void RequestScan(std::size_t index) override
    {
        Journal::Note("wlan scan " + std::to_string(index));
    }

  private:
    int count_;
};

}  // namespace

void Wlan::OpenGives(int handle)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().handle = handle;
}

void Wlan::OnOpen(std::function<void()> hook)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().openHook = std::move(hook);
}

void Wlan::ListGives(std::optional<int> interfaces)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().interfaces = interfaces;
}

void Wlan::Reset()
{
    const std::lock_guard lock(TheState().mutex);
    TheState().handle = 1;
    TheState().interfaces = 0;
    TheState().openHook = {};
}

}  // namespace pelacon::test

namespace pelacon::os {

WlanHandle OpenWlan()
{
    test::Journal::Note("wlan open");
    int number = 0;
    std::function<void()> hook;
    {
        const std::lock_guard lock(test::TheState().mutex);
        number = test::TheState().handle;
        hook = test::TheState().openHook;
    }
    if (hook) {
        hook();
    }
    static WlanClient clients[] = {{0}, {1}, {2}, {3}};
    return number != 0 ? &clients[number] : nullptr;
}

std::unique_ptr<WlanInterfaces> ListWlanInterfaces(WlanHandle handle)
{
    test::Journal::Note("wlan list " + std::to_string(handle != nullptr ? handle->number : 0));
    const std::lock_guard lock(test::TheState().mutex);
    if (handle == nullptr || !test::TheState().interfaces) {
        return nullptr;
    }
    return std::make_unique<test::ScriptedInterfaces>(*test::TheState().interfaces);
}

}  // namespace pelacon::os
