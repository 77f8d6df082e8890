#include "nms_peer/peer_nms.h"

#include <kelp/orb/references.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "unit/orb/hand_made_reference.h"

namespace kelp::test {

namespace {

/// Return the object's reference reduced to one of the ORB's addresses.
std::string referenceAt(CORBA::ORB_ptr orb, CORBA::Object_ptr object, std::size_t endpoint) {
    orb::ReferenceContent content;
    if (!orb::describe(orb, object, content) || content.endpoints.empty())
        throw std::runtime_error("the ORB does not listen");
    Iiop iiop;
    iiop.host = content.endpoints.at(endpoint).host;
    iiop.port = content.endpoints.at(endpoint).port;
    iiop.key = content.objectKey;
    return hexReference(referenceBytes({{0, iiopProfile(iiop)}}, content.typeId));
}

}  // namespace

template <class Change>
void CountingListener::count(Change change) {
    std::unique_lock lock(mutex_);
    change(counts_);
    released_.wait(lock, [this] { return !held_; });
}

void CountingListener::pinged() {
    count([this](Counts& counts) {
        ++counts.pings;
        roundCalls_.push_back(std::chrono::steady_clock::now());
    });
}

void CountingListener::sessionEnded() {
    count([](Counts& counts) { ++counts.ended; });
}

void CountingListener::eventLossOccurred(const std::string& startTime,
                                         const std::string& notificationId) {
    count([&](Counts& counts) {
        ++counts.losses;
        roundCalls_.push_back(std::chrono::steady_clock::now());
        counts.startTime = startTime;
        counts.notificationId = notificationId;
    });
}

void CountingListener::eventLossCleared(const std::string& endTime) {
    count([&](Counts& counts) {
        ++counts.cleared;
        roundCalls_.push_back(std::chrono::steady_clock::now());
        counts.endTime = endTime;
    });
}

void CountingListener::hold(bool held) {
    const std::lock_guard lock(mutex_);
    held_ = held;
    released_.notify_all();
}

CountingListener::Counts CountingListener::counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

std::vector<std::chrono::milliseconds> CountingListener::roundGaps() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::chrono::milliseconds> gaps;
    for (std::size_t i = 1; i < roundCalls_.size(); ++i)
        gaps.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(roundCalls_[i] -
                                                                             roundCalls_[i - 1]));
    return gaps;
}

Chatter::Chatter(emsSession::EmsSession_I_ptr session, std::chrono::milliseconds pause)
    : session_(emsSession::EmsSession_I::_duplicate(session)),
      pause_(pause),
      thread_([this] { run(); }) {}

Chatter::~Chatter() {
    stopped_ = true;
    thread_.join();
}

Chatter::Result Chatter::result() const {
    const std::lock_guard lock(mutex_);
    return result_;
}

std::vector<std::chrono::microseconds> Chatter::takeLatencies() {
    const std::lock_guard lock(mutex_);
    return std::exchange(latencies_, {});
}

void Chatter::run() {
    while (!stopped_) {
        const auto begin = std::chrono::steady_clock::now();
        bool failed = false;
        try {
            session_->ping();
            emsSession::EmsSession_I::managerNames_T_var names;
            session_->getSupportedManagers(names.out());
        } catch (const CORBA::Exception&) {
            failed = true;
        }
        const auto took = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now() - begin);
        {
            const std::lock_guard lock(mutex_);
            result_.calls += 1;
            result_.failures += failed ? 1 : 0;
            result_.slowestMs = std::max<long>(result_.slowestMs, took.count() / 1000);
            latencies_.push_back(took);
        }
        std::this_thread::sleep_for(pause_);
    }
}

PeerNms::PeerNms(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, std::size_t endpoint)
    : orb_(CORBA::ORB::_duplicate(orb)),
      callback_(poa, listener_),
      ownReference_(referenceAt(orb, callback_.reference(), endpoint)) {}

void PeerNms::logIn(emsSessionFactory::EmsSessionFactory_I_ptr factory, const std::string& user,
                    const std::string& password, const std::string& otherReference) {
    const CORBA::Object_var object =
        orb::toReference(orb_.in(), otherReference.empty() ? ownReference_ : otherReference);
    const nmsSession::NmsSession_I_var own =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    emsSession::EmsSession_I_var session;
    factory->getEmsSession(user.c_str(), password.c_str(), own.in(), session.out());
    if (CORBA::is_nil(session.in()))
        throw std::runtime_error("the EMS answered with a nil session");
    session_ = session;
    callback_.associate(session_.in());
    if (lists_ != nullptr)
        lists_->use(session_.in());
}

emsSession::EmsSession_I_ptr PeerNms::session() const {
    if (CORBA::is_nil(session_.in()))
        throw std::runtime_error("this NMS has not logged in");
    return session_.in();
}

ElementLists& PeerNms::lists() {
    if (lists_ == nullptr) {
        auto lists = std::make_unique<ElementLists>();
        lists->use(session());
        lists_ = std::move(lists);
    }
    return *lists_;
}

}  // namespace kelp::test
