#pragma once

#include <mtnm/nmsSession.h>

#include <atomic>
#include <functional>
#include <string>

namespace kelp::test {

/// A servant whose operations do what a test tells them to.
class ScriptedSession : public virtual POA_nmsSession::NmsSession_I {
  public:
    explicit ScriptedSession(std::function<void()> onPing = [] {}) : onPing_(std::move(onPing)) {}

    /// Runs in associatedSession, the second operation a test may need.
    std::function<void()> onAssociatedSession = [] {};
    /// Gets the text of eventLossOccurred.
    std::function<void(const std::string&)> onText = [](const std::string&) {};
    /// Runs when the servant goes.
    std::function<void()> onEnd = [] {};
    /// What associatedSession returns.
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
