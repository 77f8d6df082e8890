#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/session_callers.h>

#include <algorithm>

#include "access/connection_log_ins.h"

namespace NS_CORBA {

using kelp::util::ExclusiveLock;
using kelp::util::SharedLock;

bool isSessionName(std::string_view topPoaName) {
    return topPoaName.starts_with("<USERNAME_TAG>");
}

SessionCallers& SessionCallers::Instance() {
    // never destroyed, because requests on the ORB's threads may outlive main
    static auto* const instance = new SessionCallers;
    return *instance;
}

SessionCallers::Address SessionCallers::Address::of(const kelp::util::PeerAddress& peer) {
    constexpr std::size_t mappedAt = 12;
    Address address;
    if (peer.ipv6 && peer.ipv6->size() == address.octets.size()) {
        std::copy(peer.ipv6->begin(), peer.ipv6->end(), address.octets.begin());
        address.isKnown = true;
    } else if (peer.ipv4 != 0) {
        address.octets[mappedAt - 2] = address.octets[mappedAt - 1] = 0xFF;
        for (std::size_t i = 0; i < 4; ++i)
            address.octets[mappedAt + i] = static_cast<unsigned char>(peer.ipv4 >> (24 - 8 * i));
        address.isKnown = true;
    }
    return address;
}

void SessionCallers::Enter(const std::string& sessionName, const void* owner,
                           const SessionToken& token, const kelp::util::PeerAddress& peer) {
    ConnectionLogIns::Instance().LoggedIn(peer, sessionName);
    const ExclusiveLock lock(mutex_);
    sessions_.insert_or_assign(
        sessionName, Session{owner, token, Address::of(peer), std::make_unique<CallMeter>()});
}

void SessionCallers::Move(const std::string& sessionName, const void* owner,
                          const kelp::util::PeerAddress& peer) {
    ConnectionLogIns::Instance().LoggedIn(peer, sessionName);
    const ExclusiveLock lock(mutex_);
    const auto found = sessions_.find(sessionName);
    if (found != sessions_.end() && found->second.owner == owner)
        found->second.peer = Address::of(peer);
}

void SessionCallers::Leave(const std::string& sessionName, const void* owner) {
    const ExclusiveLock lock(mutex_);
    const auto found = sessions_.find(sessionName);
    if (found != sessions_.end() && found->second.owner == owner)
        sessions_.erase(found);
}

bool SessionCallers::IsLive(const std::string& sessionName) const {
    const SharedLock lock(mutex_);
    return sessions_.find(sessionName) != sessions_.end();
}

std::optional<std::string> SessionCallers::OnlyOneFrom(const kelp::util::PeerAddress& peer) const {
    const Address address = Address::of(peer);
    const std::string* only = nullptr;
    const SharedLock lock(mutex_);
    for (const auto& [name, session] : sessions_) {
        if (!address.isKnown || !(session.peer == address))
            continue;
        if (only != nullptr)
            return std::nullopt;
        only = &name;
    }
    return only == nullptr ? std::nullopt : std::optional<std::string>(*only);
}

SessionCallers::Verdict SessionCallers::Judge(const kelp::orb::RequestInfo& request) const {
    if (!isSessionName(request.topPoaName()))
        return Verdict::MayCall;
    const bool isBound = IsPeerBound();
    const Address caller = Address::of(request.peer());
    const SharedLock lock(mutex_);
    const auto found = sessions_.find(request.topPoaName());
    if (found == sessions_.end())
        return isBound ? Verdict::IsOver : Verdict::MayCall;
    const Address& own = found->second.peer;
    if (isBound && own.isKnown && own != caller)
        return Verdict::Stranger;
    found->second.calls->note();
    return Verdict::MayCall;
}

CallFigures SessionCallers::CallsOf(const std::string& sessionName, const void* owner) const {
    const SharedLock lock(mutex_);
    const auto found = sessions_.find(sessionName);
    return found != sessions_.end() && found->second.owner == owner ? found->second.calls->figures()
                                                                    : CallFigures();
}

bool SessionCallers::KnowsSecret(const kelp::orb::RequestInfo& request) const {
    if (!isSessionName(request.topPoaName()))
        return false;
    const SharedLock lock(mutex_);
    const auto found = sessions_.find(request.topPoaName());
    return found != sessions_.end() && found->second.token.isIn(request.objectId());
}

bool SessionCallers::IsPeerBound() const {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    // read the generation first: a change during the reading then causes another one
    const std::uint64_t generation = config.generation();
    std::uint64_t rule = rule_.load();
    if (rule / 2 != generation) {
        rule = 2 * generation + (config.text("access.session_peer") == "any" ? 0 : 1);
        rule_ = rule;
    }
    return rule % 2 != 0;
}

}  // namespace NS_CORBA
