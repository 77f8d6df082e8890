#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/notification/channel.h>

#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/orb_fixture.h"
#include "support/wait_until.h"

namespace kelp::notification::test {

inline CosNotification::StructuredEvent event(const std::string& name,
                                              const char* type = "NT_ALARM") {
    CosNotification::StructuredEvent made;
    made.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    made.header.fixed_header.event_type.type_name = CORBA::string_dup(type);
    made.header.fixed_header.event_name = CORBA::string_dup(name.c_str());
    made.filterable_data.length(1);
    made.filterable_data[0].name = CORBA::string_dup("notificationId");
    made.filterable_data[0].value <<= name.c_str();
    return made;
}

inline std::string nameOf(const CosNotification::StructuredEvent& event) {
    return std::string(event.header.fixed_header.event_name.in());
}

/// The names of the events that a consumer received. Any thread may call it.
class Received {
  public:
    void add(const kelp::orb::EventView& event) {
        const std::lock_guard guard(mutex_);
        names_.emplace_back(event.eventName());
    }
    void addBatch(std::size_t size) {
        const std::lock_guard guard(mutex_);
        batches_.push_back(size);
    }
    void end() {
        const std::lock_guard guard(mutex_);
        ended_ = true;
    }
    std::vector<std::string> names() const {
        const std::lock_guard guard(mutex_);
        return names_;
    }
    std::vector<std::size_t> batches() const {
        const std::lock_guard guard(mutex_);
        return batches_;
    }
    bool ended() const {
        const std::lock_guard guard(mutex_);
        return ended_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> names_;
    std::vector<std::size_t> batches_;
    bool ended_ = false;
};

class StructuredConsumer final : public POA_CosNotifyComm::StructuredPushConsumer, public Received {
  public:
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        add(event);
    }
    void disconnect_structured_push_consumer() override { end(); }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class SequenceConsumer final : public POA_CosNotifyComm::SequencePushConsumer, public Received {
  public:
    void push_structured_events(const CosNotification::EventBatch& batch) override {
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            add(batch[i]);
        addBatch(batch.length());
    }
    void disconnect_sequence_push_consumer() override { end(); }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class AnyConsumer final : public POA_CosNotifyComm::PushConsumer, public Received {
  public:
    void push(const CORBA::Any& any) override {
        const CosNotification::StructuredEvent* structured = nullptr;
        const char* text = nullptr;
        if (any >>= structured)
            add(*structured);
        else if (any >>= text)
            add(event(std::string("text ") + text));
    }
    void disconnect_push_consumer() override { end(); }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class LossRecord final : public LossListener {
  public:
    void eventsLost(const kelp::orb::EventView& first) override { lost.add(first); }
    Received lost;
};

/// A channel in a separate ORB. References to the channel and to consumers go over the loopback
/// interface.
class ChannelFixture : public testing::Test {
  protected:
    ChannelFixture() { settings_.delivery.firstBackOff = std::chrono::milliseconds(5); }
    ~ChannelFixture() override { channel_.reset(); }

    /// Create a servant that exists as long as its object and the test.
    template <class Servant, class... Arguments>
    Servant& make(Arguments... arguments) {
        auto* servant = new Servant(arguments...);
        servants_.emplace_back(servant);
        return *servant;
    }
    Channel& channel() {
        if (!channel_)
            channel_ = std::make_unique<Channel>(orb_.orb(), settings_, &losses_);
        return *channel_;
    }
    CosNotifyChannelAdmin::EventChannel_ptr remoteChannel() {
        const CosNotifyChannelAdmin::EventChannel_var own = channel().reference();
        const CORBA::Object_var remote = orb_.overTheWire(own.in());
        return CosNotifyChannelAdmin::EventChannel::_narrow(remote.in());
    }
    CosNotifyChannelAdmin::ConsumerAdmin_ptr consumers() {
        const CosNotifyChannelAdmin::EventChannel_var remote = remoteChannel();
        return remote->default_consumer_admin();
    }
    CosNotifyChannelAdmin::SupplierAdmin_ptr suppliers() {
        const CosNotifyChannelAdmin::EventChannel_var remote = remoteChannel();
        return remote->default_supplier_admin();
    }
    template <class Interface>
    typename Interface::_ptr_type pushProxy(CosNotifyChannelAdmin::ConsumerAdmin_ptr admin,
                                            CosNotifyChannelAdmin::ClientType type,
                                            CosNotifyChannelAdmin::ProxyID* id = nullptr) {
        CosNotifyChannelAdmin::ProxyID made = 0;
        const CosNotifyChannelAdmin::ProxySupplier_var proxy =
            admin->obtain_notification_push_supplier(type, made);
        if (id != nullptr)
            *id = made;
        return Interface::_narrow(proxy.in());
    }
    CosNotifyChannelAdmin::StructuredProxyPushSupplier_ptr structuredProxy(
        CosNotifyChannelAdmin::ProxyID* id = nullptr) {
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = consumers();
        return pushProxy<CosNotifyChannelAdmin::StructuredProxyPushSupplier>(
            admin.in(), CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
    }
    /// Return a reference to the servant's object, called over a connection.
    template <class Servant>
    CORBA::Object_ptr remote(Servant& servant) {
        const PortableServer::ObjectId_var id = orb_.root()->activate_object(&servant);
        const CORBA::Object_var own = orb_.root()->id_to_reference(id.in());
        return orb_.overTheWire(own.in());
    }
    void deactivate(PortableServer::Servant servant) {
        const PortableServer::ObjectId_var id = orb_.root()->servant_to_id(servant);
        orb_.root()->deactivate_object(id.in());
    }
    void connect(CosNotifyChannelAdmin::StructuredProxyPushSupplier_ptr proxy,
                 StructuredConsumer& consumer) {
        const CORBA::Object_var object = remote(consumer);
        const CosNotifyComm::StructuredPushConsumer_var reference =
            CosNotifyComm::StructuredPushConsumer::_narrow(object.in());
        proxy->connect_structured_push_consumer(reference.in());
    }
    void push(int first, int last) {
        for (int i = first; i <= last; ++i)
            channel().push(event(std::to_string(i)));
    }
    static bool gets(const Received& received, std::size_t count) {
        return kelp::test::waitUntil([&] { return received.names().size() >= count; });
    }

    std::list<PortableServer::ServantBase_var> servants_;  // destroyed after the ORB
    kelp::test::RunningOrb orb_;
    ChannelSettings settings_;
    LossRecord losses_;
    std::unique_ptr<Channel> channel_;
};

template <class Value>
CosNotification::PropertySeq property(const char* name, Value value) {
    CosNotification::PropertySeq properties;
    properties.length(1);
    properties[0].name = CORBA::string_dup(name);
    properties[0].value <<= value;
    return properties;
}

inline CosNotification::EventTypeSeq types(const char* domain, const char* name) {
    CosNotification::EventTypeSeq made;
    made.length(1);
    made[0].domain_name = CORBA::string_dup(domain);
    made[0].type_name = CORBA::string_dup(name);
    return made;
}

}  // namespace kelp::notification::test
