#pragma once

#include <ace/Event_Handler.h>
#include <kelp/util/export.h>

#include <list>
#include <memory>
#include <string>

namespace NS_BUNDLEMGR1 {

struct KELP_EXPORT NameValueStru {
    std::string name;
    std::string value;
};

/// What a light event carries.
struct KELP_EXPORT LightEventData {
    std::list<NameValueStru> values;
};

/// The value under `key`; empty when there is none.
KELP_EXPORT std::string GetValByKey(const std::list<NameValueStru>& values, const std::string& key);

/// Receives light events on the manager's thread, in the order they were raised. Must not throw.
class KELP_EXPORT LightEventHandler : public ACE_Event_Handler {
  public:
    ~LightEventHandler() override;
    /// `data` is null for an event that carries none; borrowed for the call.
    virtual void DoWork(int eventId, const LightEventData* data) = 0;
};

/// Number of the event "a user's account became invalid for a live log-in": values "IP", "PORT" and
/// "USN" (user name).
inline constexpr int kUserStateChangeEvent = 119;

/// Number of the event "the host has read the configuration again": no values.
inline constexpr int kConfigurationReadEvent = 1;

/// In-process events by number, delivered to registered handlers on a thread of its own, in order.
class KELP_EXPORT LightEventMgr {
  public:
    static LightEventMgr* Instance();

    /// The handler stays the caller's and must be deregistered before it dies.
    void RegisterHandler(int eventId, LightEventHandler* handler);
    /// Returns after a running call of this handler has ended (at once when called from the handler
    /// itself); it is not called afterwards.
    void DeregisterHandler(int eventId, LightEventHandler* handler);
    /// Queues an event and returns. Without handlers it goes nowhere.
    void Raise(int eventId, LightEventData data);
    /// Queues an event without data.
    void Raise(int eventId);
    /// Delivers what is queued and ends the thread; started again by the next RegisterHandler.
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
