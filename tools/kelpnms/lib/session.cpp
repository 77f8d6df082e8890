#include <kelp/nms/session.h>

#include <thread>
#include <utility>

namespace kelp::nms {

void NmsSession::call(const std::string& doing, const std::function<void()>& calls) {
    try {
        calls();
    } catch (const globaldefs::ProcessingFailureException& exception) {
        throw ProcessingFailure(doing, exception);
    } catch (const CORBA::Exception& exception) {
        throw CallFailed(doing, exception);
    }
}

NmsSession::NmsSession(CallbackActivation callback, emsSession::EmsSession_I_ptr session)
    : callback_(std::move(callback)), session_(emsSession::EmsSession_I::_duplicate(session)) {
    callback_.associate(session_.in());
}

NmsSession::~NmsSession() {
    try {
        if (!ended_)
            end();
    } catch (const NmsError&) {
        // the EMS notices by its pings that this NMS is gone
    }
}

void NmsSession::ping() {
    call("ping", [this] { session_->ping(); });
}

std::vector<std::string> NmsSession::managerNames() {
    emsSession::EmsSession_I::managerNames_T_var list;
    call("getSupportedManagers", [&] { session_->getSupportedManagers(list.out()); });
    std::vector<std::string> names;
    for (CORBA::ULong i = 0; i < list->length(); ++i)
        names.emplace_back(list[i].in());
    return names;
}

common::Common_I_ptr NmsSession::manager(const std::string& name) {
    common::Common_I_var found;
    call("getManager(" + name + ")", [&] { session_->getManager(name.c_str(), found.out()); });
    if (CORBA::is_nil(found.in()))
        throw NmsError("getManager(" + name + "): the EMS answered with a nil reference");
    return found._retn();
}

void NmsSession::end() {
    call("endSession", [this] { session_->endSession(); });
    ended_ = true;
}

bool NmsSession::isGone(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        try {
            session_->ping();
        } catch (const CORBA::OBJECT_NOT_EXIST&) {
            return true;
        } catch (const CORBA::OBJ_ADAPTER&) {
            return true;
        } catch (const CORBA::TRANSIENT&) {
            return true;
        } catch (const CORBA::Exception&) {
            return false;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace kelp::nms
