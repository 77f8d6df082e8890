#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/util/export.h>

#include <memory>

namespace NS_CORBA {

/// Holds the event channel that sessions hand out. Any thread may call it.
class KELP_EXPORT EventMgr {
  public:
    static EventMgr* Instance();
    static void Destroy();
    /// Return a new duplicate, which the caller owns, or nil while there is no channel.
    CosNotifyChannelAdmin::EventChannel_ptr GetEventChannel() const;
    /// Keep a duplicate of the channel. Nil removes the channel.
    void SetEventChannel(CosNotifyChannelAdmin::EventChannel_ptr channel);

    EventMgr(const EventMgr&) = delete;
    EventMgr& operator=(const EventMgr&) = delete;

  private:
    EventMgr();
    ~EventMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
