#include "gate_endpoint.h"

#include <omniORB4/omniURI.h>

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

#include "../../gate/plain_channel.h"
#include "../../gate/socket_address.h"
#include "../../trace.h"

namespace kelp::orb {

namespace {

using gate::ConnectionTable;
using gate::GatePeer;
using gate::Watcher;

util::PeerAddress peerOf(const sockaddr_storage& address) {
    return parsePeer("giop:tcp:" + gate::textOf(address));
}

bool isInList(const char* address, const omni::orbServer::EndpointList& list) {
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        if (std::strcmp(list[i], address) == 0)
            return true;
    }
    return false;
}

void append(omni::orbServer::EndpointList& list, const char* address) {
    list.length(list.length() + 1);
    list[list.length() - 1] = address;
}

}  // namespace

GateEndpoint::GateEndpoint(const std::string& address)
    : where_(address), gate_(gate::Gate::current()) {}

GateEndpoint::~GateEndpoint() {
    arrived_.clear();
    for (GateConnection* const connection : std::exchange(lobby_, {}))
        delete connection;
}

CORBA::Boolean GateEndpoint::Bind() {
    CORBA::UShort port = 0;
    const CORBA::String_var host = omni::omniURI::extractHostPort(where_.c_str(), port, 0);
    if (host.in() == nullptr || !gate_)
        return false;
    std::string whyNot;
    if (!listener_.open(host.in(), port, whyNot)) {
        traceException("Cannot listen on " + where_ + ": " + whyNot);
        return false;
    }
    try {
        watcher_ = std::make_shared<Watcher>();
    } catch (const std::system_error& failure) {
        traceException("Cannot listen on " + where_ + ": " + failure.what());
        return false;
    }
    watcher_->listenOn(listener_.descriptor());

    const std::string scheme(this->scheme(), 0, this->scheme().size() - 1);
    const auto addAddress = [&](const char* each) {
        const CORBA::String_var uri =
            omni::omniURI::buildURI(scheme.c_str(), each, listener_.port());
        append(addresses_, uri.in());
    };
    const omnivector<const char*>* const interfaces =
        listener_.isWildcard() ? omni::giopTransportImpl::getInterfaceAddress("giop:tcp") : nullptr;
    if (interfaces == nullptr)
        addAddress(host.in());
    else
        std::for_each(interfaces->begin(), interfaces->end(), addAddress);
    return true;
}

CORBA::Boolean GateEndpoint::publish(const omni::orbServer::PublishSpecs& forms,
                                     CORBA::Boolean allSpecs, CORBA::Boolean allEndpoints,
                                     omni::orbServer::EndpointList& published) {
    if (no_publish())
        return false;
    bool any = false;
    for (CORBA::ULong i = 0; i < addresses_.length() && (allEndpoints || !any); ++i) {
        for (CORBA::ULong j = 0; j < forms.length(); ++j) {
            const bool done = publishOne(forms[j], addresses_[i], published);
            any = any || done;
            if (done && !allSpecs)
                break;
        }
    }
    return any;
}

/// Publish one address in one form. "addr" publishes the address that is listened on. An address of
/// this transport with an empty port gets the endpoint's port. Other forms are for other
/// transports.
CORBA::Boolean GateEndpoint::publishOne(const char* form, const char* address,
                                        omni::orbServer::EndpointList& published) {
    const std::string prefix = scheme();
    std::string uri;
    if (std::strcmp(form, "addr") == 0) {
        uri = address;
    } else if (std::strncmp(form, prefix.c_str(), prefix.size()) == 0) {
        CORBA::UShort port = 0;
        const CORBA::String_var host =
            omni::omniURI::extractHostPort(form + prefix.size(), port, 0);
        if (host.in() == nullptr || *host.in() == '\0')
            return false;
        const CORBA::String_var built =
            omni::omniURI::buildURI(prefix.substr(0, prefix.size() - 1).c_str(), host.in(),
                                    port != 0 ? port : listener_.port());
        uri = built.in();
    } else {
        return false;
    }
    if (!isInList(uri.c_str(), published)) {
        giopEndpoint::addToIOR(uri.c_str());
        append(published, uri.c_str());
    }
    return true;
}

omni::giopConnection* GateEndpoint::AcceptAndMonitor(
    omni::giopConnection::notifyReadable_t function, void* cookie) {
    notify_ = function;
    cookie_ = cookie;
    while (!poked_) {
        if (omni::giopConnection* const connection = handOver())
            return connection;
        watcher_->round(*this);
    }
    return nullptr;
}

omni::giopConnection* GateEndpoint::handOver() {
    if (arrived_.empty())
        return nullptr;
    GateConnection* const connection = arrived_.front();
    arrived_.pop_front();
    lobby_.erase(connection);
    connection->peer().leaveLobby();
    return connection;
}

void GateEndpoint::Poke() {
    poked_ = true;
    watcher_->wake();
}

void GateEndpoint::Shutdown() {
    delete this;
}

bool GateEndpoint::accept() {
    return listener_.accept(
        [this](int descriptor, const sockaddr_storage& peer) { take(descriptor, peer); },
        [this](const sockaddr_storage& peer) {
            gate_->refused(peerOf(peer), "no descriptor left");
        });
}

void GateEndpoint::take(int descriptor, const sockaddr_storage& address) {
    const util::PeerAddress peer = peerOf(address);
    if (!gate_->admits(peer)) {
        gate_->refused(peer, "address not allowed");
        gate::closeAtOnce(descriptor);
        return;
    }
    switch (gate_->connections().admit(peer, Watcher::Clock::now())) {
        case ConnectionTable::Verdict::Admitted:
            enterLobby(descriptor, peer);
            return;
        case ConnectionTable::Verdict::TooMany:
            gate_->refused(peer, "too many connections");
            break;
        case ConnectionTable::Verdict::TooManyOfAddress:
            gate_->refused(peer, "too many connections from this address");
            break;
    }
    gate::closeAtOnce(descriptor);
}

std::unique_ptr<gate::OctetChannel> GateEndpoint::makeChannel(int descriptor,
                                                              const util::PeerAddress&) {
    return std::make_unique<gate::PlainChannel>(descriptor);
}

void GateEndpoint::enterLobby(int descriptor, const util::PeerAddress& address) {
    std::unique_ptr<gate::OctetChannel> channel = makeChannel(descriptor, address);
    if (!channel) {
        gate_->connections().giveBack(address);
        return;
    }
    auto peer = std::make_unique<GatePeer>(gate_, std::move(channel), address);
    auto connection = std::make_unique<GateConnection>(watcher_, std::move(peer), scheme());
    if (!watcher_->add(*connection))
        return;
    watcher_->want(*connection, Watcher::When::Now);
    lobby_.insert(connection.release());
}

Watcher::Handler::After GateEndpoint::arrived(gate::Watched& watched) {
    auto& connection = static_cast<GateConnection&>(watched);
    GatePeer& peer = connection.peer();
    switch (peer.feed()) {
        case GatePeer::Fed::More:
            return After::WatchAgain;
        case GatePeer::Fed::Busy:
            return After::Nothing;
        case GatePeer::Fed::Ready:
            break;
    }
    if (!peer.isInLobby()) {
        // the ORB assigns a thread, which reads the message or sees the end
        notify_(cookie_, &connection);
        return After::Nothing;
    }
    if (peer.hasEnded())
        return After::Discard;
    arrived_.push_back(&connection);
    return After::Nothing;
}

void GateEndpoint::discard(gate::Watched& watched) {
    auto* const connection = static_cast<GateConnection*>(&watched);
    lobby_.erase(connection);
    delete connection;
}

void GateEndpoint::sweep(gate::Watched& watched, Watcher::Clock::time_point now) {
    static_cast<GateConnection&>(watched).peer().sweep(now);
}

void GateEndpoint::tidy(Watcher::Clock::time_point now) {
    gate_->tidy(now);
}

}  // namespace kelp::orb
