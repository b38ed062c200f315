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
    /// Always the same for a table; null for null.
    static Listener* Of(const typename Listener::Table* table)
    {
        static constinit os::Singleton<TableListeners> listeners;
        return table == nullptr ? nullptr
                                : listeners.Get([] { return new TableListeners; }).Find(table);
    }

  private:
    Listener* Find(const typename Listener::Table* table)
    {
        const std::lock_guard lock(lock_);
        const os::ForkHold hold;
        return &listeners_.try_emplace(table, table).first->second;
    }

    os::Lock lock_;
    std::map<const typename Listener::Table*, Listener> listeners_;
};

}  // namespace pelacon
