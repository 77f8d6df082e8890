#pragma once

#include <kelp/orb/corba.h>

#include <chrono>
#include <exception>
#include <string>

namespace NS_KELPCORBA {

class SessionSource;

/// The event-loss condition that a round of checks reports. Its texts are borrowed.
struct EventLossReport {
    bool cleared = true;
    const char* time = "";
    const char* notificationId = "";
};

/// The check of one session in one round, in three steps. The calls of many checks can run
/// concurrently, while their consequences happen in order. Each step is called once, in the order
/// below. Only one thread at a time calls begin or conclude. Nothing is thrown.
class SessionCheck {
  public:
    /// `source` must outlive this object.
    SessionCheck(SessionSource& source, const EventLossReport& loss)
        : source_(source), loss_(loss) {}

    /// Decide what to do: end the session, report a change in the event-loss condition to its NMS,
    /// or ping the NMS.
    void begin(bool silentMode);
    /// Make the call to the NMS, if begin decided on one. The time-out of the calling thread limits
    /// it.
    void call() noexcept;
    /// Count and trace the result, and tear down a session that is over. Return 0 when the session
    /// continues, -1 when it was torn down.
    int conclude();

  private:
    enum class Call { None, EndSession, Ping, LossOccurred, LossCleared };
    friend class SessionSource;  // relays an event loss without a full check

    void relayLoss();
    void makeCall() const;
    /// Rethrow the exception that the call threw. Return when the NMS answered.
    void requireAnswer() const;
    std::string failureText() const;  ///< empty when the NMS answered
    void concludeEnd() const;
    void concludePing();
    void concludeRelay();

    SessionSource& source_;
    const EventLossReport loss_;
    Call call_ = Call::None;
    bool isOver_ = false;
    bool isRecordedUntold_ = false;  ///< a change of the condition is recorded, not reported
    bool hasCalled_ = false;         ///< the NMS has called since the previous check
    std::exception_ptr failure_;
    std::chrono::microseconds duration_{0};  ///< of the call
};

}  // namespace NS_KELPCORBA
