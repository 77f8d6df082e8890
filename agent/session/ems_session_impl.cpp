#include "session/ems_session_impl.h"

#include <kelp/agent/error_translation.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/servants.h>

#include <exception>
#include <string>

#include "adapter/session_source.h"
#include "util/base_config.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "emssessionimpl";

/// Return the NMS's "address:port", borrowed from the source. A destructor calls this, so it
/// allocates no memory.
const char* nmsName(const SessionSource* source) {
    return source == nullptr ? "unknown" : source->get_ip_and_port().c_str();
}

bool releasesBySilence() {
    return NS_CORBA::CorbaBaseAgentConfig::Instance()->GetSessionReleaseStrategy() ==
           kReleaseBySilence;
}

}  // namespace

EmsSession_IImpl::EmsSession_IImpl(SessionSource* source) : source_(source) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[EmsSession_IImpl::EmsSession_IImpl] EmsSession for NMS-<%s> has been constructured!",
        nmsName(source));
}

EmsSession_IImpl::~EmsSession_IImpl() {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[EmsSession_IImpl::~EmsSession_IImpl] EmsSession for NMS-<%s> has been destroyed!",
        nmsName(source_.get()));
}

session::Session_I_ptr EmsSession_IImpl::associatedSession() {
    if (!source_)
        return session::Session_I::_nil();
    const nmsSession::NmsSession_I_var nms = source_->get_nms_session();
    return session::Session_I::_duplicate(nms.in());
}

void EmsSession_IImpl::ping() {
    if (!NS_CORBA::IsDebugKept(3))
        return;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaDebugWithPara(3, "[EmsSession_IImpl::ping] Greeting From NMS-<%s>!",
                              nmsName(source_.get()));
}

void EmsSession_IImpl::endSession() {
    if (!source_)
        return;
    source_->life().endFor(EndReason::LogOut, source_->life().begun().user);
    source_->set_state(Ended);
    // under every release strategy: a thread that waits for this session must end
    wakePoint_.wake();
    TASessionSource::check_valid(source_.get());
}

void EmsSession_IImpl::getSupportedManagers(
    emsSession::EmsSession_I::managerNames_T_out supportedManagerList) {
    emsSession::EmsSession_I::managerNames_T_var names =
        new emsSession::EmsSession_I::managerNames_T;
    if (const NS_CORBA::NorthMgrMap* managers =
            NS_CORBA::CorbaBaseAgentConfig::Instance()->GetNorthMgrMap()) {
        names->length(static_cast<CORBA::ULong>(managers->size()));
        CORBA::ULong i = 0;
        for (const auto& [name, factory] : *managers)
            names[i++] = CORBA::string_dup(name.c_str());
    }
    supportedManagerList = names._retn();
    signalIfWaitedForSilently();
}

void EmsSession_IImpl::getManager(const char* managerName, common::Common_I_out managerInterface) {
    if (managerName == nullptr) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebug(2, "[EmsSession_IImpl::getManager] Input managerName is null!");
        ThrowException(kNullInput);
    }
    if (!source_)
        ThrowException(kInternalFailure);
    // pinned, so that a servant that is replaced meanwhile lives until its repository id is read
    const PortableServer::ServantBase_var servant =
        SessionMgr::Instance()->pin_servant(managerName);
    if (servant.in() == nullptr)
        ThrowException(kUnknownManager);
    const std::string repositoryId = kelp::orb::repositoryId(servant.in());
    const CORBA::Object_var reference =
        source_->create_object_reference(managerName, repositoryId.c_str());
    if (CORBA::is_nil(reference.in()))
        ThrowException(kInternalFailure);
    common::Common_I_var manager;
    try {
        manager = common::Common_I::_narrow(reference.in());
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[EmsSession_IImpl::getManager] Exception raised during narrow!");
    }
    if (CORBA::is_nil(manager.in()))
        ThrowException(kInternalFailure);
    managerInterface = manager._retn();
    signalIfWaitedForSilently();
}

void EmsSession_IImpl::getEventChannel(CosNotifyChannelAdmin::EventChannel_out eventChannel) {
    CosNotifyChannelAdmin::EventChannel_var channel =
        NS_CORBA::EventMgr::Instance()->GetEventChannel();
    if (CORBA::is_nil(channel.in()))
        ThrowException(kInternalFailure);
    eventChannel = channel._retn();
}

PortableServer::POA_ptr EmsSession_IImpl::_default_POA() {
    if (!source_)
        return PortableServer::POA::_nil();
    const PortableServer::POA_var top = source_->get_POA();
    if (CORBA::is_nil(top.in()))
        return PortableServer::POA::_nil();
    try {
        return top->find_POA("session", false);
    } catch (const CORBA::Exception&) {  // the session has ended
        return PortableServer::POA::_nil();
    }
}

emsSession::EmsSession_I_ptr EmsSession_IImpl::activate() {
    if (!isActivated_) {
        const PortableServer::POA_var poa = _default_POA();
        if (CORBA::is_nil(poa.in()))
            throw CORBA::OBJ_ADAPTER(0, CORBA::COMPLETED_NO);
        const PortableServer::ObjectId_var id = source_->token().idOf("");
        poa->activate_object_with_id(id.in(), this);
        isActivated_ = true;
    }
    return _this();
}

void EmsSession_IImpl::signalIfWaitedForSilently() {
    if (releasesBySilence() && source_ && source_->get_silent_waiting())
        wakePoint_.signalActivity();
}

void TASessionSource::check_valid(SessionSource* source) {
    if (source == nullptr)
        return;
    const PortableServer::POA_var poa = source->get_POA();
    if (CORBA::is_nil(poa.in()))
        return;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[TASessionSource::check_valid] Detect nmsSession failed or ems wants exit, now EMS will "
        "destroy "
        "associated "
        "emsSession resource!");
    try {
        source->destroyAdapters(poa.in());
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(
            ex, "[TASessionSource::check_valid] Exception raised during destroy session resource!");
    } catch (const std::exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[TASessionSource::check_valid] Exception raised during destroy session resource! %s",
            ex.what());
    }
    // also when the tree was already destroyed: the user is still logged in
    source->logOutOnce();
}

}  // namespace NS_KELPCORBA
