#pragma once

#include <functional>
#include <initializer_list>
#include <ostream>
#include <set>

#include "component/notification/channel_fixture.h"

namespace kelp::notification::test {

/// Names of event types: "domain/type".
using Names = std::set<std::string>;

inline Names namesOf(const CosNotification::EventTypeSeq& types) {
    Names names;
    for (CORBA::ULong i = 0; i < types.length(); ++i)
        names.insert(std::string(types[i].domain_name.in()) + "/" + types[i].type_name.in());
    return names;
}

/// Return types of the domain "d".
inline CosNotification::EventTypeSeq typesOf(std::initializer_list<const char*> names) {
    CosNotification::EventTypeSeq made;
    for (const char* name : names) {
        made.length(made.length() + 1);
        made[made.length() - 1].domain_name = CORBA::string_dup("d");
        made[made.length() - 1].type_name = CORBA::string_dup(name);
    }
    return made;
}

const Names kAll{"*/%ALL"};
const Names kNone;

/// One offer_change or subscription_change.
struct Notice {
    Names added;
    Names removed;
    bool operator==(const Notice&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Notice& notice) {
    return out << "added " << testing::PrintToString(notice.added) << ", removed "
               << testing::PrintToString(notice.removed);
}

/// The notices that a peer received, from any thread. Each notice first calls `answer`, which must
/// be set before the peer is connected.
class Noted {
  public:
    std::vector<Notice> notices() const {
        const std::lock_guard guard(mutex_);
        return notices_;
    }
    bool isTold(std::size_t times) const {
        return kelp::test::waitUntil([&] { return notices().size() >= times; });
    }
    int calls() const { return calls_; }

    std::function<void()> answer;

  protected:
    void note(const CosNotification::EventTypeSeq& added,
              const CosNotification::EventTypeSeq& removed) {
        ++calls_;
        if (answer)
            answer();
        const std::lock_guard guard(mutex_);
        notices_.push_back({namesOf(added), namesOf(removed)});
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Notice> notices_;
    std::atomic<int> calls_{0};
};

/// A consumer that records offer changes.
template <class Skeleton>
class NotedConsumer : public Skeleton, public Noted {
  public:
    void offer_change(const CosNotification::EventTypeSeq& added,
                      const CosNotification::EventTypeSeq& removed) override {
        note(added, removed);
    }
};

class StructuredNoted final : public NotedConsumer<POA_CosNotifyComm::StructuredPushConsumer>,
                              public Received {
  public:
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        add(event);
    }
    void disconnect_structured_push_consumer() override { end(); }
};

/// A supplier, or the callback of a filter, that records subscription changes.
template <class Skeleton>
class NotedSubscriber : public Skeleton, public Noted {
  public:
    void subscription_change(const CosNotification::EventTypeSeq& added,
                             const CosNotification::EventTypeSeq& removed) override {
        note(added, removed);
    }
};

class StructuredSupplier final : public NotedSubscriber<POA_CosNotifyComm::StructuredPushSupplier> {
  public:
    void disconnect_structured_push_supplier() override {}
};

class Callback final : public NotedSubscriber<POA_CosNotifyComm::NotifySubscribe> {};

/// A channel whose peers are notified of changes.
class ChangesFixture : public ChannelFixture {
  protected:
    using PushProxy = CosNotifyChannelAdmin::StructuredProxyPushSupplier_var;
    using IntakeProxy = CosNotifyChannelAdmin::StructuredProxyPushConsumer_var;

    template <class Reference, class Servant>
    typename Reference::_ptr_type referenceTo(Servant& servant) {
        const CORBA::Object_var object = remote(servant);
        return Reference::_narrow(object.in());
    }
    /// Return a reference of any interface to an object that does not exist, at an address where
    /// somebody may listen.
    template <class Reference>
    typename Reference::_ptr_type away(const std::string& corbaloc) {
        const CORBA::Object_var object = kelp::orb::toReference(orb_.orb(), corbaloc);
        return Reference::_unchecked_narrow(object.in());
    }

    void connectTo(const PushProxy& proxy, StructuredNoted& consumer) {
        const auto reference = CosNotifyComm::StructuredPushConsumer_var(
            referenceTo<CosNotifyComm::StructuredPushConsumer>(consumer));
        proxy->connect_structured_push_consumer(reference.in());
    }
    /// Return the proxy of a consumer with updates of offers on.
    PushProxy connected(StructuredNoted& consumer) {
        const PushProxy proxy = structuredProxy();
        connectTo(proxy, consumer);
        (void)offered(proxy, CosNotifyChannelAdmin::NONE_NOW_UPDATES_ON);
        return proxy;
    }
    template <class Proxy>
    Names offered(const Proxy& proxy, CosNotifyChannelAdmin::ObtainInfoMode mode) {
        const CosNotification::EventTypeSeq_var list = proxy->obtain_offered_types(mode);
        return namesOf(list.in());
    }

    template <class Interface>
    typename Interface::_ptr_type intakeOf(CosNotifyChannelAdmin::SupplierAdmin_ptr admin,
                                           CosNotifyChannelAdmin::ClientType type) {
        CosNotifyChannelAdmin::ProxyID id = 0;
        const CosNotifyChannelAdmin::ProxyConsumer_var made =
            admin->obtain_notification_push_consumer(type, id);
        return Interface::_narrow(made.in());
    }
    IntakeProxy intake() {
        const CosNotifyChannelAdmin::SupplierAdmin_var admin = suppliers();
        return intakeOf<CosNotifyChannelAdmin::StructuredProxyPushConsumer>(
            admin.in(), CosNotifyChannelAdmin::STRUCTURED_EVENT);
    }
    void connectTo(const IntakeProxy& proxy, StructuredSupplier& supplier) {
        const auto reference = CosNotifyComm::StructuredPushSupplier_var(
            referenceTo<CosNotifyComm::StructuredPushSupplier>(supplier));
        proxy->connect_structured_push_supplier(reference.in());
    }
    /// Return the proxy of a supplier with updates of subscriptions on.
    IntakeProxy connected(StructuredSupplier& supplier) {
        const IntakeProxy proxy = intake();
        connectTo(proxy, supplier);
        (void)subscribed(proxy, CosNotifyChannelAdmin::NONE_NOW_UPDATES_ON);
        return proxy;
    }
    template <class Proxy>
    Names subscribed(const Proxy& proxy, CosNotifyChannelAdmin::ObtainInfoMode mode) {
        const CosNotification::EventTypeSeq_var list = proxy->obtain_subscription_types(mode);
        return namesOf(list.in());
    }
};

}  // namespace kelp::notification::test
