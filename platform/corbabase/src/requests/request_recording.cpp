#include "requests/request_recording.h"

#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/operation_record.h>
#include <kelp/corbabase/session_callers.h>
#include <kelp/corbabase/trace.h>
#include <mtnm/globaldefs.h>

#include <algorithm>
#include <array>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "access/caller_standing.h"
#include "access/connection_log_ins.h"
#include "access/session_name_parts.h"

namespace NS_CORBA {

namespace {

using kelp::oplog::ObjectKind;
using kelp::oplog::OperationRecord;
using kelp::orb::RequestInfo;

constexpr const char* kFile = "requestrecording";
constexpr const char* kFactoryId = "EMSSessionFactory";
/// Well-known keys are outside every POA below the root.
constexpr const char* kFactoryKey = "EmsSessionFactory_I";
constexpr std::array<std::string_view, 3> kNamingKeys = {"NameService", "DefaultNamingContext",
                                                         "NamingContextExt"};
constexpr const char* kNamingPoa = "naming";
constexpr const char* kChannelPoa = "notification";

/// One entry for each request of the thread: whether its record is wanted.
std::vector<char>& scopes() {
    thread_local std::vector<char> instance;
    return instance;
}

/// Whether a request's object id is known to come from its session.
enum class Id { IsGenuine, MayBeGuessed };

ObjectKind kindOfKey(const std::string& key) {
    if (key == kFactoryKey)
        return ObjectKind::Factory;
    const bool isNaming =
        std::find(kNamingKeys.begin(), kNamingKeys.end(), key) != kNamingKeys.end();
    return isNaming ? ObjectKind::Naming : ObjectKind::Unknown;
}

/// Fill in the kind and name of the target from its POA. Never the secret in an object id.
void tellTarget(const RequestInfo& request, Id id, OperationRecord& record) {
    const std::string& top = request.topPoaName();
    const std::string& child = request.childPoaName();
    record.objectKind = ObjectKind::Unknown;
    record.object.clear();
    if (!isSessionName(top)) {
        if (request.objectId() == kFactoryId)
            record.objectKind = ObjectKind::Factory;
        else if (top == kChannelPoa)
            record.objectKind = ObjectKind::Channel;
        else if (top == kNamingPoa)
            record.objectKind = ObjectKind::Naming;
        else if (top.empty())
            record.objectKind = kindOfKey(request.objectId());
        else
            record.object = top;
    } else if (child == "session") {
        record.objectKind = ObjectKind::Session;
    } else if (child == "iterator") {
        record.objectKind = ObjectKind::Iterator;
    } else {
        record.objectKind = ObjectKind::Manager;
        if (id == Id::IsGenuine)
            record.object = SessionToken::nameIn(request.objectId());
    }
}

/// Return the exception's name. For this interface's own exception return its type, for example
/// "EXCPT_ACCESS_DENIED".
const char* outcomeOf(const CORBA::Exception* raised) {
    if (raised == nullptr)
        return kOutcomeOk;
    const auto* const refusal = globaldefs::ProcessingFailureException::_downcast(raised);
    if (refusal == nullptr)
        return raised->_name();
    return globaldefs::_tc_ExceptionType_T->member_name(
        static_cast<CORBA::ULong>(refusal->exceptionType));
}

/// Return the name of the session whose NMS calls, as far as it is known. For an object of a
/// session it is that session; for the channel it is the session of the connection.
std::string_view callersSession(const RequestInfo& request, Id id) {
    if (id == Id::IsGenuine && isSessionName(request.topPoaName()))
        return request.topPoaName();
    thread_local std::string ofConnection;
    ofConnection.clear();
    if (request.topPoaName() == kChannelPoa) {
        std::vector<std::string> logIns = ConnectionLogIns::Instance().Of(request);
        if (!logIns.empty())
            ofConnection = std::move(logIns.front());
    }
    return ofConnection;
}

/// Write the record. `outcome` and the request's texts are borrowed for the call.
void write(const RequestInfo& request, Id id, const char* outcome) {
    // reused by the thread, so that its texts keep their memory
    thread_local OperationRecord record;
    record.time = std::chrono::floor<std::chrono::milliseconds>(request.arrived());
    record.duration = request.age();
    record.peer = request.peer().withPort;
    record.operation = request.operationName();
    record.outcome = outcome;
    thread_local LastSessionName lastName;
    const SessionNameParts& parts = lastName.parts(callersSession(request, id));
    record.user = parts.user;
    record.nmsAddress = parts.nmsAddress;
    tellTarget(request, id, record);
    if (CallerStanding::isLoggedIn(request))
        AuditTrail::Instance().Write(record);
    else
        AuditTrail::Instance().WriteWithoutLogIn(record, kelp::util::networkOf(request.peer()));
}

template <class Body>
void guarded(Body body) noexcept {
    try {
        body();
    } catch (const std::exception& failure) {
        tracePoint(kFile);
        TaTrace("[RequestRecording] A record of a request is lost: %s", failure.what());
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[RequestRecording] A record of a request is lost!");
    }
}

}  // namespace

void RequestRecording::begin() {
    scopes().push_back(0);
}

void RequestRecording::want() {
    if (!scopes().empty())
        scopes().back() = 1;
}

void RequestRecording::end(const RequestInfo& request, const CORBA::Exception* raised) noexcept {
    if (scopes().empty())
        return;
    const bool isWanted = scopes().back() != 0;
    scopes().pop_back();
    if (isWanted && AuditTrail::Instance().IsOpen())
        guarded([&] { write(request, Id::IsGenuine, outcomeOf(raised)); });
}

void RequestRecording::drop() noexcept {
    if (!scopes().empty())
        scopes().pop_back();
}

void RequestRecording::writeUndelivered(const RequestInfo& request,
                                        const CORBA::Exception* answer) noexcept {
    if (AuditTrail::Instance().IsOpen())
        guarded([&] {
            const bool isGenuine = SessionCallers::Instance().KnowsSecret(request);
            write(request, isGenuine ? Id::IsGenuine : Id::MayBeGuessed,
                  answer == nullptr ? "" : outcomeOf(answer));
        });
}

void RequestRecording::writeForeign(const RequestInfo& request,
                                    const CORBA::Exception& answer) noexcept {
    guarded([&] {
        const SessionNameParts owner = partsOfSessionName(request.topPoaName());
        kelp::oplog::SecurityRecord record;
        record.event = kelp::oplog::SecurityEvent::RefusedPeer;
        record.peer = request.peer().withPort;
        record.object = request.operationName();
        record.outcome = outcomeOf(&answer);
        record.detail =
            "session of " + std::string(owner.user) + " at " + std::string(owner.nmsAddress);
        AuditTrail::Instance().Write(std::move(record));
    });
}

void RequestRecording::writeNotOwn(const RequestInfo& request,
                                   const CORBA::Exception& answer) noexcept {
    guarded([&] {
        kelp::oplog::SecurityRecord record;
        record.event = kelp::oplog::SecurityEvent::RefusedPeer;
        record.peer = request.peer().withPort;
        record.object = request.operationName();
        record.outcome = outcomeOf(&answer);
        record.detail = "notification channel: not the caller's own";
        AuditTrail::Instance().Write(std::move(record));
    });
}

void RequestRecording::writeRefused(const RequestInfo& request,
                                    const CORBA::Exception* answer) noexcept {
    guarded([&] {
        kelp::oplog::SecurityRecord record;
        record.event = kelp::oplog::SecurityEvent::RefusedAddress;
        record.peer = request.peer().withPort;
        record.object = request.operationName();
        record.outcome = answer == nullptr ? "no answer" : outcomeOf(answer);
        if (request.topPoaName() == kChannelPoa)
            record.detail = "notification channel";
        AuditTrail::Instance().Write(std::move(record));
    });
}

void RequestRecording::writeTooMany(const RequestInfo& request) noexcept {
    guarded([&] {
        kelp::oplog::SecurityRecord record;
        record.event = kelp::oplog::SecurityEvent::TooManyRequests;
        record.peer = request.peer().withPort;
        record.object = request.operationName();
        record.outcome = "TRANSIENT";
        record.detail = "without a log-in";
        AuditTrail::Instance().Write(std::move(record));
    });
}

bool RequestRecording::isOfSession(const RequestInfo& request) {
    return isSessionName(request.topPoaName());
}

void TaWriteOperLog(const kelp::orb::RequestInfo* ri, int) {
    if (ri != nullptr)
        RequestRecording::want();
}

}  // namespace NS_CORBA
