#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/orb/references.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base_orb.h"

namespace kelp::test {

/// One object of the service. It answers requests by the operation's name.
class ScriptedObject final : public PortableServer::DynamicImplementation {
  public:
    using Answer = std::function<void(CORBA::ServerRequest_ptr)>;

    ScriptedObject(std::string interfaceId, std::map<std::string, Answer> answers)
        : interfaceId_(std::move(interfaceId)), answers_(std::move(answers)) {}
    void invoke(CORBA::ServerRequest_ptr request) override {
        const auto found = answers_.find(request->operation());
        if (found == answers_.end())
            throw CORBA::BAD_OPERATION(0, CORBA::COMPLETED_NO);
        found->second(request);
    }
    char* _primary_interface(const PortableServer::ObjectId&, PortableServer::POA_ptr) override {
        return CORBA::string_dup(interfaceId_.c_str());
    }
    /// The ORB's implementation calls _primary_interface and leaks the result.
    CORBA::Boolean _is_a(const char* interfaceId) override { return interfaceId_ == interfaceId; }

  private:
    const std::string interfaceId_;
    const std::map<std::string, Answer> answers_;
};

/// A notification service with only the operations that a supplier needs. All its objects are
/// called over a connection, and each call runs a script of the test.
class ScriptedService {
  public:
    /// Called with an operation's name before the operation is answered. Both kinds of pushes are
    /// called "push", and their events count as received only afterwards. May wait, and may throw a
    /// system exception.
    using Script = std::function<void(const std::string&)>;

    ScriptedService() {
        const std::string module = "IDL:omg.org/CosNotifyChannelAdmin/";
        sequence_ = make(module + "SequenceProxyPushConsumer:1.0",
                         {{"connect_sequence_push_supplier", ignoring(CORBA::_tc_Object)},
                          {"push_structured_events",
                           taking<CosNotification::EventBatch>(CosNotification::_tc_EventBatch)},
                          {"disconnect_sequence_push_consumer", ignoring()}});
        structured_ =
            make(module + "StructuredProxyPushConsumer:1.0",
                 {{"connect_structured_push_supplier", ignoring(CORBA::_tc_Object)},
                  {"push_structured_event",
                   taking<CosNotification::StructuredEvent>(CosNotification::_tc_StructuredEvent)},
                  {"disconnect_structured_push_consumer", ignoring()}});
        admin_ = make(module + "SupplierAdmin:1.0",
                      {{"obtain_notification_push_consumer",
                        [this](CORBA::ServerRequest_ptr request) { obtain(request); }},
                       {"_get_MyChannel", answering(channel_)}});
        channel_ =
            make(module + "EventChannel:1.0", {{"_get_default_supplier_admin", answering(admin_)}});
    }

    CORBA::Object_ptr channel() const { return channel_.in(); }
    PortableServer::Servant channelServant() const { return channelServant_; }

    void setScript(Script script) {
        const std::lock_guard guard(mutex_);
        script_ = std::move(script);
    }
    /// Return the names of the received events in order. Each inner list contains the events of one
    /// call.
    std::vector<std::vector<std::string>> pushes() const {
        const std::lock_guard guard(mutex_);
        return pushes_;
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const std::vector<std::string>& each : pushes())
            all.insert(all.end(), each.begin(), each.end());
        return all;
    }
    int calls(const std::string& operation) const {
        const std::lock_guard guard(mutex_);
        const auto found = calls_.find(operation);
        return found == calls_.end() ? 0 : found->second;
    }

  private:
    using Answer = ScriptedObject::Answer;

    CORBA::Object_ptr make(const std::string& interfaceId, std::map<std::string, Answer> answers) {
        for (auto& [name, answer] : answers)
            answer = [this, inner = answer](CORBA::ServerRequest_ptr request) {
                inner(request);
                before(request->operation());
            };
        channelServant_ = new ScriptedObject(interfaceId, std::move(answers));
        const PortableServer::ServantBase_var keeper(channelServant_);
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::ObjectId_var id = root->activate_object(channelServant_);
        const CORBA::Object_var own = root->id_to_reference(id.in());
        const CORBA::ORB_var orb = base().GetOrb();
        return orb::toReference(orb.in(), wireAddress(own.in()));
    }
    void before(const std::string& operation) {
        Script script;
        {
            const std::lock_guard guard(mutex_);
            ++calls_[operation];
            script = script_;
        }
        if (script)
            script(operation);
    }

    /// Return the arguments of a request, each described by its type and direction.
    static CORBA::NVList_ptr arguments(
        CORBA::ServerRequest_ptr request,
        const std::vector<std::pair<CORBA::TypeCode_ptr, CORBA::Flags>>& types) {
        const CORBA::ORB_var orb = base().GetOrb();
        CORBA::NVList_ptr list = nullptr;
        orb->create_list(0, list);
        for (const auto& [type, flags] : types)
            list->add(flags)->value()->replace(type, nullptr);
        request->arguments(list);
        return list;
    }
    static Answer ignoring(CORBA::TypeCode_ptr argument = CORBA::TypeCode::_nil()) {
        return [argument](CORBA::ServerRequest_ptr request) {
            if (CORBA::is_nil(argument))
                arguments(request, {});
            else
                arguments(request, {{argument, CORBA::ARG_IN}});
        };
    }
    static Answer answering(const CORBA::Object_var& reference) {
        return [&reference](CORBA::ServerRequest_ptr request) {
            arguments(request, {});
            CORBA::Any result;
            result <<= reference.in();
            request->set_result(result);
        };
    }
    template <class Events>
    Answer taking(CORBA::TypeCode_ptr type) {
        return [this, type](CORBA::ServerRequest_ptr request) {
            const CORBA::NVList_ptr list = arguments(request, {{type, CORBA::ARG_IN}});
            const Events* events = nullptr;
            if (!(*list->item(0)->value() >>= events))
                throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
            before("push");
            const std::lock_guard guard(mutex_);
            pushes_.push_back(namesOf(*events));
        };
    }
    static std::vector<std::string> namesOf(const CosNotification::StructuredEvent& event) {
        return {std::string(event.header.fixed_header.event_name.in())};
    }
    static std::vector<std::string> namesOf(const CosNotification::EventBatch& events) {
        std::vector<std::string> names;
        for (CORBA::ULong i = 0; i < events.length(); ++i)
            names.push_back(namesOf(events[i]).front());
        return names;
    }
    void obtain(CORBA::ServerRequest_ptr request) {
        const CORBA::NVList_ptr list =
            arguments(request, {{CosNotifyChannelAdmin::_tc_ClientType, CORBA::ARG_IN},
                                {CORBA::_tc_long, CORBA::ARG_OUT}});
        CosNotifyChannelAdmin::ClientType type = CosNotifyChannelAdmin::ANY_EVENT;
        *list->item(0)->value() >>= type;
        before(type == CosNotifyChannelAdmin::SEQUENCE_EVENT ? "obtain sequence"
                                                             : "obtain structured");
        *list->item(1)->value() <<= CORBA::Long(1);
        CORBA::Any result;
        result <<= (type == CosNotifyChannelAdmin::SEQUENCE_EVENT ? sequence_ : structured_).in();
        request->set_result(result);
    }

    mutable std::mutex mutex_;
    Script script_;  // this and the next two are guarded by mutex_
    std::map<std::string, int> calls_;
    std::vector<std::vector<std::string>> pushes_;
    CORBA::Object_var sequence_;
    CORBA::Object_var structured_;
    CORBA::Object_var admin_;
    CORBA::Object_var channel_;
    PortableServer::Servant channelServant_ = nullptr;
};

}  // namespace kelp::test
