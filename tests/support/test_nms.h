#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/references.h>
#include <mtnm/nmsSession.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/wire_reference.h"

namespace kelp::test {

/// The session object of an NMS. It counts the calls of the EMS and answers them as the test
/// specifies.
class NmsServant : public virtual POA_nmsSession::NmsSession_I {
  public:
    enum class Answer { Normally, Refuse };

    std::atomic<Answer> answer{Answer::Normally};
    std::atomic<int> pings{0};
    std::atomic<int> ends{0};
    std::atomic<int> losses{0};
    std::atomic<int> clears{0};
    /// Run in ping and endSession, on the request's thread. Set them before the EMS may call.
    std::function<void()> onPing = [] {};
    std::function<void()> onEnd = [] {};

    void ping() override {
        onPing();
        count(pings);
    }
    void endSession() override {
        onEnd();
        count(ends);
    }
    session::Session_I_ptr associatedSession() override { return session::Session_I::_nil(); }
    void eventLossOccurred(const char* startTime, const char* notificationId) override {
        note(std::string("occurred ") + startTime + " " + notificationId);
        count(losses);
    }
    void eventLossCleared(const char* endTime) override {
        note(std::string("cleared ") + endTime);
        count(clears);
    }
    void alarmLossOccurred(const char*, const char*) override {}

    /// The texts of all event-loss calls, including the refused ones.
    std::vector<std::string> texts() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return texts_;
    }

  private:
    void count(std::atomic<int>& calls) {
        ++calls;
        if (answer == Answer::Refuse)
            throw CORBA::NO_RESOURCES();
    }
    void note(const std::string& text) {
        const std::lock_guard<std::mutex> guard(mutex_);
        texts_.push_back(text);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> texts_;
};

/// Return one of the many spellings of 127.0.0.1: number `index`, from 1 to 215. The EMS takes each
/// for a different host.
inline std::string spelledLoopback(unsigned index) {
    const auto zeros = [](unsigned count) { return std::string(count, '0'); };
    return "127." + zeros(index % 6) + "0." + zeros(index / 6 % 6) + "0." + zeros(index / 36 % 6) +
           "1";
}

/// One NMS. Its session object is active in the process's ORB until the ORB stops. The EMS reaches
/// its reference over a connection, as it does with every NMS.
class TestNms {
  public:
    /// NMS with different indexes have different addresses.
    TestNms(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, unsigned index)
        : servant_(new NmsServant) {
        const PortableServer::ObjectId_var id = poa->activate_object(servant_);
        const PortableServer::ServantBase_var owner(servant_);  // from here on the POA owns it
        const CORBA::Object_var object = poa->id_to_reference(id.in());
        orb::ReferenceContent content;
        if (!orb::describe(orb, object.in(), content) || content.endpoints.empty())
            throw std::runtime_error("the ORB does not listen");
        orb::Endpoint endpoint = content.endpoints.front();
        endpoint.host = spelledLoopback(index);
        hostInfo_ = orb::hostAndPort(endpoint);
        const CORBA::Object_var remote =
            referenceOverTheWire(orb, object.in(), endpoint.host, endpoint.port);
        reference_ = nmsSession::NmsSession_I::_unchecked_narrow(remote.in());
    }

    NmsServant* operator->() const { return servant_; }
    nmsSession::NmsSession_I_ptr reference() const { return reference_.in(); }
    /// "address:port" as the EMS reads it from the reference.
    const std::string& hostInfo() const { return hostInfo_; }

  private:
    NmsServant* servant_;  // lives as long as the ORB
    nmsSession::NmsSession_I_var reference_;
    std::string hostInfo_;
};

}  // namespace kelp::test
