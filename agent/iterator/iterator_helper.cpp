#include <kelp/agent/iterator_helper.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/poas.h>

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "iteratorhelper";

PortableServer::POA_ptr nothing(const char* why) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("%s", why);
    return PortableServer::POA::_nil();
}

}  // namespace

PortableServer::POA_ptr TAIteratorHelper::getIteratorPoa() {
    try {
        const CORBA::ORB_var orb = NS_CORBA::CorbaBaseAgentConfig::Instance()->GetOrb();
        const CORBA::Object_var object = orb->resolve_initial_references("POACurrent");
        const PortableServer::Current_var current = PortableServer::Current::_narrow(object.in());
        if (CORBA::is_nil(current.in())) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(1, "[IteratorHelper::getIteratorPoa] Get a nil current POA!");
            return PortableServer::POA::_nil();
        }
        const PortableServer::POA_var servantPoa = current->get_POA();
        if (CORBA::is_nil(servantPoa.in()))
            return nothing("[IteratorHelper::getIteratorPoa] Get a nil servantPoa POA!");
        PortableServer::POA_var iterators = servantPoa->find_POA("iterator", false);
        if (CORBA::is_nil(iterators.in()))
            return nothing("[IteratorHelper::getIteratorPoa] Get a nil iterator POA!");
        return iterators._retn();
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[IteratorHelper::getIteratorPoa] Exception raised!");
        return PortableServer::POA::_nil();
    }
}

unsigned long TAIteratorHelper::add_Iterator(PortableServer::ServantBase* iterator) {
    CORBA::Object_var reference;
    return add_Iterator(iterator, reference);
}

unsigned long TAIteratorHelper::add_Iterator(PortableServer::ServantBase* iterator,
                                             CORBA::Object_var& reference) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaDebug(3, "[IteratorHelper::add_Iterator] Add new iterator object!");
    return SessionMgr::Instance()->add_iterator(iterator, reference);
}

void TAIteratorHelper::deactive_object(PortableServer::ServantBase* iterator) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaDebug(3, "[IteratorHelper::deactive_object] Enter...!");
    try {
        const PortableServer::POA_var poa = iterator->_default_POA();
        if (CORBA::is_nil(poa.in())) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(1, "[TAIteratorHelper::deactive_object] poa is NULL");
            return;
        }
        // check this first: a dying POA may refuse to return the id
        if (kelp::orb::isDying(poa.in())) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[TAIteratorHelper::deactive_object] cleanup_in_progress is true");
            return;
        }
        const PortableServer::ObjectId_var id = poa->servant_to_id(iterator);
        poa->deactivate_object(id.in());
    } catch (const CORBA::Exception& ex) {
        // the iterator is already inactive, or its session has just ended
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[IteratorHelper::deactive_object] Exception raised!");
    }
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaDebug(3, "[IteratorHelper::deactive_object] Exited!");
}

}  // namespace NS_KELPCORBA
