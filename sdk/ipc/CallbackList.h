// Tables with one slot each that are registered by a request and never unregistered.
#pragma once

#include <os/Lock.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/Registry.h>

#include <optional>

namespace pelacon {

/// The tables for one kind of event, with the request that the service accepted last for them.
template <typename Table, typename Request>
class CallbackList {
  public:
    /// A registered table is not added again; the request replaces the previous one.
    void Register(const char* function, Table* table, const Request& request)
    {
        const std::lock_guard lock(lock_);
        {
            const os::ForkHold hold;
            request_ = request;
        }
        if (!tables_.AddOnce(table)) {
            diag::Log(kLogTrace, function, "callback already exist");
        }
    }

    /// The request that was accepted last; nothing when there is no table.
    std::optional<Request> Accepted() const
    {
        const std::lock_guard lock(lock_);
        return request_;
    }

    /// Calls this slot of every table, in the order of registration, with the list locked.
    template <typename Event>
    void Call(const char* function, void (*Table::*slot)(const Event*), const Event& event) const
    {
        diag::LogStart(function);
        {
            const std::lock_guard lock(lock_);
            tables_.ForEach([&](const Table* table) {
                if (table != nullptr && table->*slot != nullptr) {
                    diag::Log(kLogTrace, function, "call callback");
                    CallApplication(table->*slot, &event);
                }
            });
        }
        diag::LogEnd(function);
    }

  private:
    mutable os::Lock lock_;
    OrderedList<Table*> tables_;
    std::optional<Request> request_;
};

}  // namespace pelacon
