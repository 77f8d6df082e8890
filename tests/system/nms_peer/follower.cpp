#include "nms_peer/follower.h"

#include <cstring>
#include <string>

namespace kelp::test {

namespace {

using namespace CosNotifyChannelAdmin;

std::uint64_t notificationId(const CosNotification::StructuredEvent& event) {
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        const char* text = nullptr;
        if (std::strcmp(event.filterable_data[i].name.in(), "notificationId") == 0 &&
            (event.filterable_data[i].value >>= text))
            return std::stoull(text);
    }
    return 0;
}

}  // namespace

class Follower::Consumer final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    explicit Consumer(std::chrono::milliseconds pause) : pause_(pause) {}

    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        const std::uint64_t id = notificationId(event);
        {
            const std::lock_guard lock(mutex_);
            if (result_.lastId == id) {
                ++result_.repeated;
            } else {
                ++result_.events;
                if (id < result_.lastId) {
                    ++result_.late;
                } else {
                    if (result_.lastId != 0)
                        result_.missing += static_cast<int>(id - result_.lastId - 1);
                    result_.lastId = id;
                }
            }
        }
        if (pause_.count() > 0)
            std::this_thread::sleep_for(pause_);
    }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

    Result result() const {
        const std::lock_guard lock(mutex_);
        return result_;
    }

  private:
    const std::chrono::milliseconds pause_;
    mutable std::mutex mutex_;
    Result result_;  // guarded by mutex_
};

Follower::Follower(emsSession::EmsSession_I_ptr session, PortableServer::POA_ptr poa,
                   std::chrono::milliseconds pause)
    : poa_(PortableServer::POA::_duplicate(poa)), consumer_(new Consumer(pause)) {
    EventChannel_var channel;
    session->getEventChannel(channel.out());
    connect(channel.in(), [](CORBA::Object_ptr told) { return CORBA::Object::_duplicate(told); });
}

Follower::Follower(EventChannel_ptr channel, PortableServer::POA_ptr poa,
                   std::chrono::milliseconds pause, const Route& route)
    : poa_(PortableServer::POA::_duplicate(poa)), consumer_(new Consumer(pause)) {
    connect(channel, route);
}

void Follower::connect(EventChannel_ptr channel, const Route& route) {
    const PortableServer::ServantBase_var owned = consumer_;
    const PortableServer::ObjectId_var id = poa_->activate_object(consumer_);
    const CORBA::Object_var object = poa_->id_to_reference(id.in());
    const CosNotifyComm::StructuredPushConsumer_var reference =
        CosNotifyComm::StructuredPushConsumer::_narrow(object.in());
    const ConsumerAdmin_var toldAdmin = channel->default_consumer_admin();
    const CORBA::Object_var adminObject = route(toldAdmin.in());
    const ConsumerAdmin_var admin = ConsumerAdmin::_unchecked_narrow(adminObject.in());
    ProxyID proxyId = 0;
    const ProxySupplier_var toldProxy =
        admin->obtain_notification_push_supplier(STRUCTURED_EVENT, proxyId);
    const CORBA::Object_var proxyObject = route(toldProxy.in());
    proxy_ = StructuredProxyPushSupplier::_unchecked_narrow(proxyObject.in());
    proxy_->connect_structured_push_consumer(reference.in());
}

Follower::~Follower() {
    try {
        proxy_->disconnect_structured_push_supplier();
    } catch (const CORBA::SystemException&) {
        // the EMS no longer exists or has dropped this consumer
    }
    const PortableServer::ObjectId_var id = poa_->servant_to_id(consumer_);
    poa_->deactivate_object(id.in());
}

Follower::Result Follower::result() const {
    return consumer_->result();
}

Restless::Restless(emsSession::EmsSession_I_ptr session, PortableServer::POA_ptr poa)
    : session_(emsSession::EmsSession_I::_duplicate(session)),
      poa_(PortableServer::POA::_duplicate(poa)),
      thread_([this] { run(); }) {}

Restless::~Restless() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Restless::run() {
    std::unique_lock lock(mutex_);
    while (!ending_) {
        try {
            const Follower follower(session_.in(), poa_.in(), std::chrono::milliseconds(0));
            changed_.wait_for(lock, std::chrono::seconds(1), [this] { return ending_; });
        } catch (const CORBA::Exception&) {
            return;  // the EMS no longer exists
        }
    }
}

}  // namespace kelp::test
