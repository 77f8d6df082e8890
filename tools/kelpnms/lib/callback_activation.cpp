#include <kelp/nms/callback_activation.h>
#include <kelp/util/mutex.h>

#include <utility>

namespace kelp::nms {

namespace {

class CallbackServant : public virtual POA_nmsSession::NmsSession_I {
  public:
    explicit CallbackServant(std::shared_ptr<NmsListener> listener)
        : listener_(std::move(listener)) {}

    void associate(session::Session_I_ptr session) {
        const util::MutexLock lock(mutex_);
        session_ = session::Session_I::_duplicate(session);
    }

    session::Session_I_ptr associatedSession() override {
        const util::MutexLock lock(mutex_);
        return session::Session_I::_duplicate(session_.in());
    }
    void ping() override { listener_->pinged(); }
    void endSession() override { listener_->sessionEnded(); }
    void eventLossOccurred(const char* startTime, const char* notificationId) override {
        listener_->eventLossOccurred(startTime, notificationId);
    }
    void eventLossCleared(const char* endTime) override { listener_->eventLossCleared(endTime); }
    void alarmLossOccurred(const char* startTime, const char* notificationId) override {
        listener_->alarmLossOccurred(startTime, notificationId);
    }

  private:
    const std::shared_ptr<NmsListener> listener_;
    util::Mutex mutex_{util::LockRank::Leaf, "CallbackServant::mutex_"};
    session::Session_I_var session_ KELP_GUARDED_BY(mutex_);
};

}  // namespace

struct CallbackActivation::State {
    PortableServer::POA_var poa;
    CallbackServant* servant = nullptr;
    PortableServer::ServantBase_var owner;  ///< of the servant
    PortableServer::ObjectId_var id;
    nmsSession::NmsSession_I_var reference;
};

CallbackActivation::CallbackActivation(PortableServer::POA_ptr poa,
                                       std::shared_ptr<NmsListener> listener)
    : state_(std::make_unique<State>()) {
    state_->poa = PortableServer::POA::_duplicate(poa);
    state_->servant = new CallbackServant(std::move(listener));
    state_->owner = state_->servant;
    state_->id = poa->activate_object(state_->servant);
    const CORBA::Object_var object = poa->id_to_reference(state_->id.in());
    state_->reference = nmsSession::NmsSession_I::_narrow(object.in());
}

CallbackActivation::CallbackActivation(CallbackActivation&& other) noexcept = default;

CallbackActivation::~CallbackActivation() {
    if (state_ == nullptr)
        return;
    try {
        state_->servant->associate(session::Session_I::_nil());
        state_->poa->deactivate_object(state_->id.in());
    } catch (const CORBA::Exception&) {
        // the ORB has been shut down and has deactivated the object
    }
}

nmsSession::NmsSession_I_ptr CallbackActivation::reference() const {
    return state_->reference.in();
}

void CallbackActivation::associate(session::Session_I_ptr session) {
    state_->servant->associate(session);
}

}  // namespace kelp::nms
