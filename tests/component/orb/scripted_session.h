#pragma once

#include <mtnm/nmsSession.h>

#include <atomic>
#include <functional>
#include <string>

namespace kelp::test {

/// A servant whose operations run functions of the test.
class ScriptedSession : public virtual POA_nmsSession::NmsSession_I {
  public:
    explicit ScriptedSession(std::function<void()> onPing = [] {}) : onPing_(std::move(onPing)) {}

    /// Runs in associatedSession, the second operation that a test may need.
    std::function<void()> onAssociatedSession = [] {};
    /// Receives the text of eventLossOccurred.
    std::function<void(const std::string&)> onText = [](const std::string&) {};
    /// Runs in the servant's destructor.
    std::function<void()> onEnd = [] {};
    /// The result of associatedSession.
    session::Session_I_var associated;
    std::atomic<int> pings{0};
    std::atomic<int> associatedSessions{0};

    void ping() override {
        ++pings;
        onPing_();
    }
    void endSession() override {}
    session::Session_I_ptr associatedSession() override {
        ++associatedSessions;
        onAssociatedSession();
        return session::Session_I::_duplicate(associated.in());
    }
    void eventLossOccurred(const char*, const char* notificationId) override {
        onText(notificationId);
    }
    void eventLossCleared(const char*) override {}
    void alarmLossOccurred(const char*, const char*) override {}

  protected:
    ~ScriptedSession() override { onEnd(); }

  private:
    std::function<void()> onPing_;
};

}  // namespace kelp::test
