#pragma once

#include <kelp/orb/corba.h>

#include <exception>
#include <string>

namespace NS_KELPCORBA {

class SessionSource;

/// The event-loss condition that a round of checks reports; borrows its texts.
struct EventLossReport {
    bool cleared = true;
    const char* time = "";
    const char* notificationId = "";
};

/// One round's check of one session, in three steps, so that the calls of many checks can run at
/// the same time while everything that they lead to happens in order. Each step is called once, in
/// the order below; begin and conclude by one thread at a time. Nothing is raised.
class SessionCheck {
  public:
    /// `source` must stay until the end.
    SessionCheck(SessionSource& source, const EventLossReport& loss)
        : source_(source), loss_(loss) {}

    /// Decides what is to be done: end the session, tell its NMS of a change in the event-loss
    /// condition, or ping it.
    void begin(bool silentMode);
    /// Calls the NMS if there is something to call it for, limited by the calling thread's
    /// time-out.
    void call() noexcept;
    /// Counts, traces, tears down. 0 when the session goes on, -1 when it was torn down.
    int conclude();

  private:
    enum class Call { None, EndSession, Ping, LossOccurred, LossCleared };
    friend class SessionSource;  // relays an event loss without a whole check

    void relayLoss();
    void makeCall() const;
    /// What the call has raised, rethrown; nothing when it was answered.
    void requireAnswer() const;
    void concludeEnd() const;
    void concludePing();
    void concludeRelay();

    SessionSource& source_;
    const EventLossReport loss_;
    Call call_ = Call::None;
    bool isOver_ = false;
    bool isRecordedUntold_ = false;  ///< a change of the condition that is not reported to the NMS
    bool hasCalled_ = false;         ///< the NMS has, since the check before
    std::exception_ptr failure_;
};

}  // namespace NS_KELPCORBA
