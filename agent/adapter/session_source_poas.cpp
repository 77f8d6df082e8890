// The POA tree of a session: the top POA with its servant locator, and below it the POAs "iterator"
// and "session".

#include <kelp/agent/error_translation.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/poas.h>

#include <exception>
#include <new>

#include "adapter/claimed_poa_names.h"
#include "adapter/iterator_activator.h"
#include "adapter/servant_locator.h"
#include "adapter/session_source.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionsource";

struct PoaPolicies {
    const char* alreadyExists;
    const char* systemException;
    PortableServer::RequestProcessingPolicyValue requestProcessing;
    PortableServer::ServantRetentionPolicyValue servantRetention;
    PortableServer::IdAssignmentPolicyValue idAssignment;
    PortableServer::ImplicitActivationPolicyValue implicitActivation;
};

const PoaPolicies kTopPoa = {
    "[create_ServantLocator_poa] PortableServer::POA::AdapterAlreadyExists exception received!",
    "[create_ServantLocator_poa] System exception received!",
    PortableServer::USE_SERVANT_MANAGER,
    PortableServer::NON_RETAIN,
    PortableServer::USER_ID,
    PortableServer::NO_IMPLICIT_ACTIVATION};

const PoaPolicies kIteratorPoa = {
    "[create_iterator_poa] PortableServer::POA::AdapterAlreadyExists exception received!",
    "[create_iterator_poa] System exception received!",
    PortableServer::USE_SERVANT_MANAGER,
    PortableServer::RETAIN,
    PortableServer::USER_ID,
    PortableServer::NO_IMPLICIT_ACTIVATION};

const PoaPolicies kSessionPoa = {
    "[create_session_poa] PortableServer::POA::AdapterAlreadyExists exception received!",
    "[create_session_poa] System exception received!",
    PortableServer::USE_ACTIVE_OBJECT_MAP_ONLY,
    PortableServer::RETAIN,
    PortableServer::USER_ID,
    PortableServer::NO_IMPLICIT_ACTIVATION};

/// The four policies of a POA. The destructor destroys them.
class PolicyList {
  public:
    PolicyList(PortableServer::POA_ptr parent, const PoaPolicies& policies) : list_(4) {
        list_.length(4);
        list_[0] = parent->create_request_processing_policy(policies.requestProcessing);
        list_[1] = parent->create_servant_retention_policy(policies.servantRetention);
        list_[2] = parent->create_id_assignment_policy(policies.idAssignment);
        list_[3] = parent->create_implicit_activation_policy(policies.implicitActivation);
    }
    ~PolicyList() {
        for (CORBA::ULong i = 0; i < list_.length(); ++i) {
            if (!CORBA::is_nil(list_[i]))
                list_[i]->destroy();
        }
    }
    PolicyList(const PolicyList&) = delete;
    PolicyList& operator=(const PolicyList&) = delete;
    const CORBA::PolicyList& list() const { return list_; }

  private:
    CORBA::PolicyList list_;
};

PortableServer::POA_ptr createPoa(PortableServer::POA_ptr parent, const std::string& name,
                                  const PoaPolicies& policies) {
    if (CORBA::is_nil(parent)) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[create_ServantLocator_poa] exception for input parameter is null!");
        return PortableServer::POA::_nil();
    }
    try {
        const PortableServer::POAManager_var manager = parent->the_POAManager();
        const PolicyList policyList(parent, policies);
        try {
            return parent->create_POA(name.c_str(), manager.in(), policyList.list());
        } catch (const PortableServer::POA::AdapterAlreadyExists&) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("%s", policies.alreadyExists);
            return parent->find_POA(name.c_str(), false);
        }
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, policies.systemException);
        return PortableServer::POA::_nil();
    }
}

/// Return true when the POA already has a servant manager. Set the token in it. Lets CORBA
/// exceptions through.
template <class Manager>
bool isEquipped(PortableServer::POA_ptr poa, const NS_CORBA::SessionToken* token) {
    const PortableServer::ServantManager_var present = poa->get_servant_manager();
    if (auto* const manager = dynamic_cast<Manager*>(present.in());
        manager != nullptr && token != nullptr)
        manager->setToken(*token);
    return !CORBA::is_nil(present.in());
}

void destroyQuietly(PortableServer::POA_ptr poa, const char* debugFormat) {
    try {
        kelp::orb::beginDestroy(poa);
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebugWithPara(1, debugFormat, kelp::orb::exceptionText(ex).c_str());
    }
}

}  // namespace

unsigned long SessionSource::init(PortableServer::POA_ptr rootPoa) {
    try {
        return makeTree(rootPoa);
    } catch (const std::exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionSource::init] The POAs could not be made: %s", ex.what());
        destroyRemains(rootPoa);
        return kInternalFailure;
    }
}

/// Clean up after a failure in makeTree: it may have made a POA of this name to which nothing
/// refers.
void SessionSource::destroyRemains(PortableServer::POA_ptr rootPoa) {
    if (!ClaimedPoaNames::isOwner(sessionName_, this))
        return;
    try {
        if (!CORBA::is_nil(rootPoa)) {
            const PortableServer::POA_var top = rootPoa->find_POA(sessionName_.c_str(), false);
            destroyAdapters(top.in());
        }
    } catch (const PortableServer::POA::AdapterNonExistent&) {
        // makeTree has not made it
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SessionSource::init] Exception caught in destroy POA!");
    } catch (const std::exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionSource::init] Exception caught in destroy POA! %s", ex.what());
    }
    giveUpName();
}

unsigned long SessionSource::makeTree(PortableServer::POA_ptr rootPoa) {
    if (!claimName()) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::init] The POA of this name belongs to another live session!");
        return kInternalFailure;
    }
    const PortableServer::POA_var top = create_ServantLocator_poa(rootPoa, sessionName_);
    if (CORBA::is_nil(top.in())) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::init] create_ServantLocator_poa returned a nil POA object!");
        giveUpName();
        return kInternalFailure;
    }
    SetServantLocator(top.in(), &token_);
    SetServantIterator(top.in(), &token_);
    const PortableServer::POA_var session = create_session_poa(top.in(), "session");
    if (CORBA::is_nil(session.in())) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionSource::init] create_session_poa returned a nil POA object!");
        try {
            destroyAdapters(top.in());
        } catch (const CORBA::Exception& ex) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaException(ex, "[SessionSource::init] Exception caught in destroy POA!");
        }
        return kInternalFailure;
    }
    const WriteLock lock(lock_);
    servantPoa_ = top;
    return 0;
}

void SessionSource::destroyAdapters(PortableServer::POA_ptr poa) {
    const auto begin = [poa] {
        TAServantLocator::beginRefusing(poa);
        kelp::orb::beginDestroy(poa);
    };
    try {
        try {
            begin();
        } catch (const std::bad_alloc&) {
            // retry, because a tree that stays occupies the name; the lack of memory may be short
            begin();
        }
    } catch (...) {  // release the name in any case; the caller gets the exception
        giveUpName();
        throw;
    }
    giveUpName();
}

PortableServer::POA_ptr SessionSource::create_ServantLocator_poa(PortableServer::POA_ptr parent,
                                                                 const std::string& name) {
    return createPoa(parent, name, kTopPoa);
}

PortableServer::POA_ptr SessionSource::create_iterator_poa(PortableServer::POA_ptr parent,
                                                           const std::string& name) {
    return createPoa(parent, name, kIteratorPoa);
}

PortableServer::POA_ptr SessionSource::create_session_poa(PortableServer::POA_ptr parent,
                                                          const std::string& name) {
    return createPoa(parent, name, kSessionPoa);
}

unsigned long SessionSource::SetServantLocator(PortableServer::POA_ptr poa,
                                               const NS_CORBA::SessionToken* token) {
    try {
        if (isEquipped<TAServantLocator>(poa, token))
            return 0;
        auto* const made = new (std::nothrow) TAServantLocator(TAServantLocator::Ending::IsTold);
        const PortableServer::ServantLocator_var locator = made;
        if (made == nullptr) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(
                1, "[SessionSource::SetServantLocator] Call TAServantLocator::create() failed");
            kelp::orb::beginDestroy(poa);
            return kInternalFailure;
        }
        if (token != nullptr)
            made->setToken(*token);
        poa->set_servant_manager(locator.in());
        return 0;
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebugWithPara(
            1,
            "[SessionSource::SetServantLocator] Exception raised during set_servant_manager, ex=%s",
            kelp::orb::exceptionText(ex).c_str());
        return kInternalFailure;
    }
}

unsigned long SessionSource::SetServantIterator(PortableServer::POA_ptr top,
                                                const NS_CORBA::SessionToken* token) {
    const PortableServer::POA_var it = create_iterator_poa(top, "iterator");
    if (CORBA::is_nil(it.in())) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebug(1,
                          "[SessionSource::SetServantIterator] Call create_iterator_poa returned a "
                          "nil POA object");
        if (!CORBA::is_nil(top))
            destroyQuietly(
                top, "[SessionSource::SetServantIterator] Exception caught in destroy POA, ex=%s");
        return kInternalFailure;
    }
    try {
        if (isEquipped<IteratorServantActivator>(it.in(), token))
            return 0;
        auto* const made = new (std::nothrow) IteratorServantActivator;
        const PortableServer::ServantActivator_var activator = made;
        if (made == nullptr) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(
                1, "[SessionSource::SetServantIterator] IteratorServantActivator::create() failed");
            kelp::orb::beginDestroy(top);
            return kInternalFailure;
        }
        if (token != nullptr)
            made->setToken(*token);
        it->set_servant_manager(activator.in());
        return 0;
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebugWithPara(
            1,
            "[SessionSource::SetServantIterator] Exception raised during set_servant_manager ex=%s",
            kelp::orb::exceptionText(ex).c_str());
        return kInternalFailure;
    }
}

unsigned long SessionSource::CreateServantPoa(PortableServer::POA_var& poa,
                                              PortableServer::POA_ptr parent,
                                              const std::string& name) {
    if (CORBA::is_nil(parent)) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[CreateServantPoa] parent poa is nil object!");
        return kInternalFailure;
    }
    PortableServer::POA_var made = create_ServantLocator_poa(parent, name);
    if (CORBA::is_nil(made.in())) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[CreateServantPoa] create_ServantLocator_poa returned a nil POA object!");
        return kInternalFailure;
    }
    try {
        if (!isEquipped<TAServantLocator>(made.in(), nullptr)) {
            const PortableServer::ServantLocator_var locator = new (std::nothrow) TAServantLocator;
            if (CORBA::is_nil(locator.in())) {
                NS_CORBA::tracePoint(kSubject);
                NS_CORBA::TaTrace("[CreateServantPoa] TAServantLocator::create() failed!");
                kelp::orb::beginDestroy(made.in());
                return kInternalFailure;
            }
            made->set_servant_manager(locator.in());
        }
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex,
                              "[CreateServantPoa] Exception raised during set_servant_manager()!");
        return kInternalFailure;
    }
    poa = made;
    return 0;
}

CORBA::Object_ptr SessionSource::create_object_reference(const char* objectId,
                                                         const char* repositoryId) {
    const PortableServer::POA_var poa = get_POA();
    const PortableServer::ObjectId_var id = token_.idOf(objectId);
    return create_object_reference(poa.in(), id.in(), repositoryId);
}

CORBA::Object_ptr SessionSource::create_object_reference(PortableServer::POA_ptr poa,
                                                         const char* objectId,
                                                         const char* repositoryId) {
    const PortableServer::ObjectId_var id = PortableServer::string_to_ObjectId(objectId);
    return create_object_reference(poa, id.in(), repositoryId);
}

CORBA::Object_ptr SessionSource::create_object_reference(PortableServer::POA_ptr poa,
                                                         const PortableServer::ObjectId& id,
                                                         const char* repositoryId) {
    try {
        if (CORBA::is_nil(poa)) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionSource::create_object_reference] get_POA return a nil POA!");
            return CORBA::Object::_nil();
        }
        return poa->create_reference_with_id(id, repositoryId);
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex,
                              "[SessionSource::create_object_reference] Exception caught during "
                              "create_reference_with_id!");
        return CORBA::Object::_nil();
    }
}

}  // namespace NS_KELPCORBA
