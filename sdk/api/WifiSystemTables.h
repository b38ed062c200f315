// The callback tables of the C form of WifiSystemApi as the objects that the class takes.
#pragma once

#include <PelaconSDK/WifiSystem.h>
#include <os/Lock.h>
#include <os/Singleton.h>

#include <cstdint>
#include <map>
#include <mutex>

namespace pelacon {

/// Implements the interface of a listener by the functions of a table, any of which may be null.
template <typename Interface, typename TableType>
class TableListener : public Interface {
  public:
    using Table = TableType;

    explicit TableListener(const Table* table) : table_(table) {}

  protected:
    template <typename Function, typename... Arguments>
    void Call(Function Table::*function, Arguments... arguments) const
    {
        if (table_->*function != nullptr) {
            (table_->*function)(arguments...);
        }
    }

  private:
    const Table* table_;
};

class ConnectStatusTable
    : public TableListener<ISoftApConnectStatus, SoftApConnectStatusCallbacksC> {
  public:
    using TableListener::TableListener;

    void OnConnectStatus(std::int32_t status) override { Call(&Table::onConnectStatus, status); }
};

class SoftApNotificationTable
    : public TableListener<ISoftAPNotification, SoftApNotificationCallbacksC> {
  public:
    using TableListener::TableListener;

    void OnAdvertisementStatus(std::uint32_t status) override
    {
        Call(&Table::onAdvertisementStatus, status);
    }
    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        Call(&Table::onAdvertisementState, state);
    }
    void OnDeviceConnectionStatus(std::uint32_t status) override
    {
        Call(&Table::onDeviceConnectionStatus, status);
    }
};

class WifiStateTable : public TableListener<IWifiStateChangeNotification, WifiStateCallbacksC> {
  public:
    using TableListener::TableListener;

    void OnWifiStateChanged(std::int32_t state) override
    {
        Call(&Table::onWifiStateChanged, state);
    }
};

class WifiChannelTable : public TableListener<WifiRealMonitorStateCallBack, WifiChannelCallbacksC> {
  public:
    using TableListener::TableListener;

    void OnConnectChannel(std::int32_t channel) override
    {
        Call(&Table::onConnectChannel, channel);
    }
};

class ErrorTable : public TableListener<ErrorListener, ErrorListenerC> {
  public:
    using TableListener::TableListener;

    void OnError(ErrorDetail detail) override
    {
        const ErrorDetailC record{detail.time, detail.code, detail.message.c_str()};
        Call(&Table::onError, &record);
    }
};

/// The listeners of all tables of one kind, one for each table. They are never removed, as a call
/// of one may be running.
template <typename Listener>
class TableListeners {
  public:
    using Table = typename Listener::Table;

    /// To register: always the same for a table; null for null.
    static Listener* Of(const Table* table)
    {
        return table == nullptr ? nullptr : All().FindOrAdd(table);
    }

    /// To unregister: a listener that is never registered for a table that Of was not called with;
    /// null for null.
    static Listener* Known(const Table* table)
    {
        return table == nullptr ? nullptr : All().Find(table);
    }

  private:
    static TableListeners& All()
    {
        static constinit os::Singleton<TableListeners> listeners;
        return listeners.Get([] { return new TableListeners; });
    }

    Listener* FindOrAdd(const Table* table)
    {
        const std::lock_guard lock(lock_);
        const os::ForkHold hold;
        return &listeners_.try_emplace(table, table).first->second;
    }

    Listener* Find(const Table* table)
    {
        const std::lock_guard lock(lock_);
        const auto found = listeners_.find(table);
        return found != listeners_.end() ? &found->second : &unknown_;
    }

    os::Lock lock_;
    std::map<const Table*, Listener> listeners_;
    Listener unknown_{nullptr};
};

}  // namespace pelacon
