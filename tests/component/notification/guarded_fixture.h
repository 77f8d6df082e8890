#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "channel_fixture.h"
#include "support/tcp_relay.h"
#include "support/trace_capture.h"
#include "support/wire_reference.h"

namespace kelp::notification::test {

/// The test specifies who may use the channel.
class Allowed final : public Guard {
  public:
    bool mayUse(const kelp::util::PeerAddress& peer) const override {
        const std::lock_guard guard(mutex_);
        return addresses_.count(peer.text) > 0;
    }
    bool mayCall(CORBA::Object_ptr) const override { return mayCall_; }
    bool maySupply(const kelp::util::PeerAddress& peer) const override {
        const std::lock_guard guard(mutex_);
        return suppliers_.count(peer.text) > 0;
    }
    std::vector<LogIn> logInsOf(const kelp::orb::RequestInfo& request) const override {
        const std::lock_guard guard(mutex_);
        const auto [found, isNew] = connections_.try_emplace(request.peer().withPort, next_);
        std::vector<LogIn> logIns;
        for (const std::string& each : found->second)
            logIns.push_back({each, "user " + each});
        return logIns;
    }
    bool isLive(const std::string& logIn) const override {
        const std::lock_guard guard(mutex_);
        return ended_.count(logIn) == 0;
    }

    void allowCalls(bool allowed) { mayCall_ = allowed; }
    void allow(const std::string& address) {
        const std::lock_guard guard(mutex_);
        addresses_.insert(address);
    }
    void forbid(const std::string& address) {
        const std::lock_guard guard(mutex_);
        addresses_.erase(address);
    }
    void allowSupplying(const std::string& address) {
        const std::lock_guard guard(mutex_);
        suppliers_.insert(address);
    }
    /// Assign connections that first appear from here on to these log-ins, the latest first.
    void nextConnectionsAreOf(std::vector<std::string> logIns) {
        const std::lock_guard guard(mutex_);
        next_ = std::move(logIns);
    }
    /// Add a new log-in to each connection of the log-in `known`.
    void logInOver(const std::string& known, const std::string& logIn) {
        const std::lock_guard guard(mutex_);
        for (auto& [connection, logIns] : connections_) {
            if (std::find(logIns.begin(), logIns.end(), known) != logIns.end())
                logIns.insert(logIns.begin(), logIn);
        }
    }
    void end(const std::string& logIn) {
        const std::lock_guard guard(mutex_);
        ended_.insert(logIn);
    }

  private:
    mutable std::mutex mutex_;
    std::set<std::string> addresses_;
    std::set<std::string> suppliers_;
    std::set<std::string> ended_;
    std::vector<std::string> next_;
    mutable std::map<std::string, std::vector<std::string>> connections_;
    std::atomic<bool> mayCall_{true};
};

inline constexpr const char* kA = "127.0.0.2";
inline constexpr const char* kB = "127.0.0.3";
inline constexpr std::chrono::milliseconds kGrace{60000};

/// A guarded channel. Relays give each peer a separate address and a single connection.
class GuardedFixture : public ChannelFixture {
  protected:
    using TcpRelay = kelp::test::TcpRelay;

    GuardedFixture() {
        settings_.guard = &allowed_;
        settings_.grace = kGrace;
        allowed_.allow(kA);
        allowed_.allow(kB);
    }

    /// Return the same object, called from the relay's address.
    template <class Interface>
    typename Interface::_var_type from(const TcpRelay& relay, CORBA::Object_ptr object) const {
        const CORBA::Object_var remote =
            kelp::test::referenceOverTheWire(orb_.orb(), object, "127.0.0.1", relay.port());
        return typename Interface::_var_type(Interface::_unchecked_narrow(remote.in()));
    }
    CosNotifyChannelAdmin::EventChannel_var channelFrom(const TcpRelay& relay) {
        const CosNotifyChannelAdmin::EventChannel_var own = channel().reference();
        return from<CosNotifyChannelAdmin::EventChannel>(relay, own.in());
    }
    CosNotifyChannelAdmin::ConsumerAdmin_var consumersFrom(const TcpRelay& relay) {
        const CosNotifyChannelAdmin::EventChannel_var remote = channelFrom(relay);
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = remote->default_consumer_admin();
        return from<CosNotifyChannelAdmin::ConsumerAdmin>(relay, admin.in());
    }
    CosNotifyChannelAdmin::SupplierAdmin_var suppliersFrom(const TcpRelay& relay) {
        const CosNotifyChannelAdmin::EventChannel_var remote = channelFrom(relay);
        const CosNotifyChannelAdmin::SupplierAdmin_var admin = remote->default_supplier_admin();
        return from<CosNotifyChannelAdmin::SupplierAdmin>(relay, admin.in());
    }
    /// Return a new admin of the relay's caller.
    CosNotifyChannelAdmin::ConsumerAdmin_var newAdminFrom(
        const TcpRelay& relay, CosNotifyChannelAdmin::AdminID* id = nullptr) {
        const CosNotifyChannelAdmin::EventChannel_var remote = channelFrom(relay);
        CosNotifyChannelAdmin::AdminID made = 0;
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin =
            remote->new_for_consumers(CosNotifyChannelAdmin::OR_OP, made);
        if (id != nullptr)
            *id = made;
        return from<CosNotifyChannelAdmin::ConsumerAdmin>(relay, admin.in());
    }
    CosNotifyChannelAdmin::StructuredProxyPushSupplier_var proxyFrom(
        const TcpRelay& relay, CosNotifyChannelAdmin::ProxyID* id = nullptr) {
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = consumersFrom(relay);
        return proxyOf(relay, admin.in(), id);
    }
    CosNotifyChannelAdmin::StructuredProxyPushSupplier_var proxyOf(
        const TcpRelay& relay, CosNotifyChannelAdmin::ConsumerAdmin_ptr admin,
        CosNotifyChannelAdmin::ProxyID* id = nullptr) {
        CosNotifyChannelAdmin::ProxyID number = 0;
        const CosNotifyChannelAdmin::ProxySupplier_var made =
            admin->obtain_notification_push_supplier(CosNotifyChannelAdmin::STRUCTURED_EVENT,
                                                     number);
        if (id != nullptr)
            *id = number;
        return from<CosNotifyChannelAdmin::StructuredProxyPushSupplier>(relay, made.in());
    }
    CosNotifyChannelAdmin::StructuredProxyPullSupplier_var pullProxyFrom(const TcpRelay& relay) {
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = consumersFrom(relay);
        CosNotifyChannelAdmin::ProxyID id = 0;
        const CosNotifyChannelAdmin::ProxySupplier_var made =
            admin->obtain_notification_pull_supplier(CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
        return from<CosNotifyChannelAdmin::StructuredProxyPullSupplier>(relay, made.in());
    }
    CosNotifyChannelAdmin::StructuredProxyPushConsumer_var intakeFrom(const TcpRelay& relay) {
        const CosNotifyChannelAdmin::SupplierAdmin_var admin = suppliersFrom(relay);
        CosNotifyChannelAdmin::ProxyID id = 0;
        const CosNotifyChannelAdmin::ProxyConsumer_var made =
            admin->obtain_notification_push_consumer(CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
        return from<CosNotifyChannelAdmin::StructuredProxyPushConsumer>(relay, made.in());
    }
    CosNotifyFilter::FilterFactory_var filtersFrom(const TcpRelay& relay) {
        const CosNotifyChannelAdmin::EventChannel_var remote = channelFrom(relay);
        const CosNotifyFilter::FilterFactory_var factory = remote->default_filter_factory();
        return from<CosNotifyFilter::FilterFactory>(relay, factory.in());
    }
    /// `own` receives the reference as the channel returned it, for handing on.
    CosNotifyFilter::Filter_var filterFrom(const TcpRelay& relay,
                                           CosNotifyFilter::Filter_var* own = nullptr) {
        const CosNotifyFilter::FilterFactory_var factory = filtersFrom(relay);
        const CosNotifyFilter::Filter_var made = factory->create_filter("EXTENDED_TCL");
        if (own != nullptr)
            *own = made;
        return from<CosNotifyFilter::Filter>(relay, made.in());
    }

    void review(std::chrono::milliseconds time) {
        channel().review(std::chrono::steady_clock::time_point(std::chrono::hours(1000) + time));
    }
    /// Let the whole grace period pass for those without permission.
    void letGracePass() {
        review(std::chrono::milliseconds(0));
        review(kGrace);
    }

    Allowed allowed_;
    kelp::test::TraceCapture trace_;
    const TcpRelay a_{orb_.port(), kA};
    const TcpRelay b_{orb_.port(), kB};
};

}  // namespace kelp::notification::test
