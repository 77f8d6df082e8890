#include <kelp/orb/request.h>

#include <utility>

#include "request_record.h"

namespace kelp::orb {

RequestHook::~RequestHook() = default;

void RequestHook::undelivered(const RequestInfo&, const CORBA::Exception*) noexcept {}

void RequestRecord::assign(const char* operation, const Peer& peer, const Target& target) {
    arrive(operation, peer);
    objectKey_.clear();
    setTarget(target);
}

void RequestRecord::assign(const char* operation, const Peer& peer, std::string_view objectKey,
                           ReadKey read) {
    arrive(operation, peer);
    if (!objectKey.empty() && objectKey == objectKey_)
        return;
    // a target that is only half set, because memory ran out, must not count as this key's
    objectKey_.clear();
    setTarget(read(objectKey));
    objectKey_ = objectKey;
}

void RequestRecord::arrive(const char* operation, const Peer& peer) {
    arrived_ = std::chrono::system_clock::now();
    arrivedSteady_ = std::chrono::steady_clock::now();
    operation_ = operation == nullptr ? "" : operation;
    const std::string_view text = peer.text == nullptr ? "" : peer.text;
    if (peerText_ != text) {
        peerText_ = text;
        peer_ = parsePeer(peerText_);
    }
    // always set: a later connection may come from the same port
    peerSubject_ = peer.subject;
}

void RequestRecord::setTarget(const Target& target) {
    topPoaName_ = target.topPoaName;
    childPoaName_ = target.childPoaName;
    objectId_ = target.objectId;
}

std::chrono::microseconds RequestRecord::age() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 arrivedSteady_);
}

char* RequestRecord::operation() const {
    return CORBA::string_dup(operation_.c_str());
}

ThreadRequests& ThreadRequests::ofThisThread() {
    thread_local ThreadRequests requests;
    return requests;
}

RequestRecord& ThreadRequests::arrive() {
    drop();
    arrived_ = spare_ ? std::move(spare_) : std::make_unique<RequestRecord>();
    return *arrived_;
}

void ThreadRequests::drop() {
    if (arrived_)
        spare_ = std::move(arrived_);
}

const RequestInfo* ThreadRequests::current() const {
    return arrived_ ? arrived_.get() : served_;
}

ThreadRequests::Serving::Serving(ThreadRequests& requests)
    : requests_(requests), mine_(std::move(requests.arrived_)), before_(requests.served_) {
    requests_.served_ = mine_.get();
}

ThreadRequests::Serving::~Serving() {
    requests_.served_ = before_;
    requests_.spare_ = std::move(mine_);
}

const RequestInfo* currentRequest() {
    return ThreadRequests::ofThisThread().current();
}

util::PeerAddress currentPeer() {
    const RequestInfo* request = currentRequest();
    return request == nullptr ? util::PeerAddress{} : request->peer();
}

std::string currentPeerSubject() {
    const RequestInfo* request = currentRequest();
    return request == nullptr ? std::string{} : request->peerSubject();
}

}  // namespace kelp::orb
