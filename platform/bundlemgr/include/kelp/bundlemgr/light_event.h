#pragma once

#include <ace/Event_Handler.h>
#include <kelp/util/export.h>

#include <list>
#include <memory>
#include <string>

namespace NS_BUNDLEMGR1 {

/// A named value in the data of a light event.
struct KELP_EXPORT NameValueStru {
    std::string name;
    std::string value;
};

/// The data of a light event.
struct KELP_EXPORT LightEventData {
    std::list<NameValueStru> values;
};

/// The value of `key`; empty if there is none.
KELP_EXPORT std::string GetValByKey(const std::list<NameValueStru>& values, const std::string& key);

/// Receives light events on the manager's thread, in the order in which they were raised. Must not
/// throw.
class KELP_EXPORT LightEventHandler : public ACE_Event_Handler {
  public:
    ~LightEventHandler() override;
    /// `data` is null for an event without data. It is valid only during the call.
    virtual void DoWork(int eventId, const LightEventData* data) = 0;
};

/// The event "a user's account became invalid for a live log-in". Its values are "IP", "PORT" and
/// "USN" (user name).
inline constexpr int kUserStateChangeEvent = 119;

/// The event "the host has reloaded the configuration". It has no values.
inline constexpr int kConfigurationReadEvent = 1;

/// Delivers events within the process to registered handlers. Events have a number. A separate
/// thread delivers them in order.
class KELP_EXPORT LightEventMgr {
  public:
    static LightEventMgr* Instance();

    /// The caller keeps the ownership of the handler, and must deregister it before destroying it.
    void RegisterHandler(int eventId, LightEventHandler* handler);
    /// Remove a handler. Waits for a running call of this handler to end, unless called from the
    /// handler itself. After that the handler is not called again.
    void DeregisterHandler(int eventId, LightEventHandler* handler);
    /// Queue an event and return. Discard it if there are no handlers.
    void Raise(int eventId, LightEventData data);
    /// Queue an event without data.
    void Raise(int eventId);
    /// Deliver the queued events and end the thread. The next RegisterHandler() starts it again.
    void Stop();

    LightEventMgr(const LightEventMgr&) = delete;
    LightEventMgr& operator=(const LightEventMgr&) = delete;

  private:
    LightEventMgr();
    ~LightEventMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_BUNDLEMGR1
