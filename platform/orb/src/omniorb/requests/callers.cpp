#include "omniorb/requests/callers.h"

#include <kelp/orb/orb.h>
#include <kelp/util/mutex.h>

namespace kelp::orb {

namespace {

using PortableServer::POAManager;

/// Holds callers of well-known keys. The POA of these keys has a separate manager, which follows
/// the root's: a well-known key must not let callers through before everything is ready.
class KeyGate {
  public:
    static KeyGate& instance() {
        static KeyGate* gate = new KeyGate;
        return *gate;
    }

    void reset() KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        open_ = false;
        manager_ = POAManager::_nil();
    }

    void setOpen(bool open) KELP_EXCLUDES(mutex_) {
        {
            const util::MutexLock lock(mutex_);
            open_ = open;
        }
        settle();
    }

    void setManager(PortableServer::POAManager_ptr manager) KELP_EXCLUDES(mutex_) {
        {
            const util::MutexLock lock(mutex_);
            manager_ = POAManager::_duplicate(manager);
        }
        settle();
    }

  private:
    /// Bring the manager to the wanted state. Repeat that if the wanted state has changed
    /// meanwhile, because the ORB is called without the lock.
    void settle() KELP_EXCLUDES(mutex_) {
        bool wanted = false;
        PortableServer::POAManager_var manager;
        while (differs(wanted, manager)) {
            if (wanted)
                manager->activate();
            else
                manager->hold_requests(false);
        }
    }

    /// Return true, with the wanted state and the manager, while the manager's state differs from
    /// it.
    bool differs(bool& wanted, PortableServer::POAManager_var& manager) KELP_EXCLUDES(mutex_) {
        {
            const util::MutexLock lock(mutex_);
            wanted = open_;
            manager = POAManager::_duplicate(manager_.in());
        }
        if (CORBA::is_nil(manager.in()))
            return false;
        const POAManager::State state = manager->get_state();
        if (state == POAManager::INACTIVE)
            return false;
        return state != (wanted ? POAManager::ACTIVE : POAManager::HOLDING);
    }

    util::Mutex mutex_{util::LockRank::Service, "KeyGate::mutex_"};
    bool open_ KELP_GUARDED_BY(mutex_) = false;
    PortableServer::POAManager_var manager_ KELP_GUARDED_BY(mutex_);
};

PortableServer::POA_ptr keyPoa(CORBA::ORB_ptr orb) {
    const CORBA::Object_var object = orb->resolve_initial_references("omniINSPOA");
    return PortableServer::POA::_narrow(object.in());
}

}  // namespace

void resetCallers() {
    KeyGate::instance().reset();
}

void holdCallers(PortableServer::POAManager_ptr manager) {
    KeyGate::instance().setOpen(false);
    try {
        manager->hold_requests(true);
    } catch (const CORBA::BAD_INV_ORDER&) {
        // called from inside a call, which would wait for itself
        manager->hold_requests(false);
    }
}

void letCallersThrough(PortableServer::POAManager_ptr manager) {
    manager->activate();
    KeyGate::instance().setOpen(true);
}

void publishKey(CORBA::ORB_ptr orb, const std::string& key, PortableServer::Servant servant,
                CORBA::Object_ptr) {
    if (CORBA::is_nil(orb) || servant == nullptr || key.empty())
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    const PortableServer::POA_var poa = keyPoa(orb);
    const PortableServer::ObjectId_var id = PortableServer::string_to_ObjectId(key.c_str());
    try {
        poa->activate_object_with_id(id.in(), servant);
    } catch (const PortableServer::POA::ObjectAlreadyActive&) {
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    } catch (const PortableServer::POA::ServantAlreadyActive&) {
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    const PortableServer::POAManager_var manager = poa->the_POAManager();
    KeyGate::instance().setManager(manager.in());
}

void withdrawKey(CORBA::ORB_ptr orb, const std::string& key) {
    if (CORBA::is_nil(orb) || key.empty())
        return;
    try {
        const PortableServer::POA_var poa = keyPoa(orb);
        const PortableServer::ObjectId_var id = PortableServer::string_to_ObjectId(key.c_str());
        poa->deactivate_object(id.in());
    } catch (const PortableServer::POA::ObjectNotActive&) {
        // nobody published it, or it was withdrawn already
    } catch (const CORBA::SystemException&) {
        // the ORB has been shut down, and every key with it
    }
}

}  // namespace kelp::orb
