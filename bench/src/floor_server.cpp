// The floor that the product's calls are compared with: the ORB alone, with servants of the same
// interfaces in a plain child of the root POA. It prints its references and serves until its
// standard input ends.
//
//     session_bench_floor <objects>
//         the bare ORB, with the options that the product uses
//     session_bench_floor <objects> --with-port
//         with the product's ORB port on top of it, without a request hook
//     session_bench_floor <objects> --session-poas <number>
//         the bare ORB; the managers are not active in the child of the root but found through
//         servant locators, as the product's are

#include <kelp/orb/corba.h>
#include <kelp/orb/counted_local.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>
#include <mtnm/emsMgr.h>
#include <mtnm/emsSession.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "common/bare_orb.h"

namespace {

class FloorSession : public virtual POA_emsSession::EmsSession_I {
  public:
    session::Session_I_ptr associatedSession() override { return session::Session_I::_nil(); }
    void ping() override {}
    void endSession() override {}
    void getSupportedManagers(emsSession::EmsSession_I::managerNames_T_out) override {
        throw CORBA::NO_IMPLEMENT();
    }
    void getManager(const char*, common::Common_I_out) override { throw CORBA::NO_IMPLEMENT(); }
    void getEventChannel(CosNotifyChannelAdmin::EventChannel_out) override {
        throw CORBA::NO_IMPLEMENT();
    }
};

/// Refuses every operation.
class RefusingManager : public virtual POA_emsMgr::EMSMgr_I {
  public:
#define MANAGER_OPERATION(module, interface, operation, parameters, support) \
    void operation parameters override {                                     \
        throw CORBA::NO_IMPLEMENT();                                         \
    }
#include "ems_operations.inc"
#undef MANAGER_OPERATION
};

class FloorManager final : public RefusingManager {
  public:
    void getEMS(emsMgr::EMS_T_out answer) override;
};

/// Return the product's answer under its default configuration. The benchmark checks that the two
/// answers are equal.
void FloorManager::getEMS(emsMgr::EMS_T_out answer) {
    emsMgr::EMS_T_var ems = new emsMgr::EMS_T;
    ems->name.length(1);
    ems->name[0].name = CORBA::string_dup("EMS");
    ems->name[0].value = CORBA::string_dup("Kelp/EMS");
    ems->userLabel = CORBA::string_dup("EMS");
    ems->nativeEMSName = CORBA::string_dup("EMS");
    ems->owner = CORBA::string_dup("");
    ems->emsVersion = CORBA::string_dup(KELP_VERSION);
    ems->type = CORBA::string_dup("Kelp");
    answer = ems._retn();
}

void print(CORBA::ORB_ptr orb, CORBA::Object_ptr object) {
    const CORBA::String_var text = orb->object_to_string(object);
    std::cout << text.in() << '\n';
}

void printActive(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa,
                 PortableServer::ServantBase* servant) {
    const PortableServer::ServantBase_var owned = servant;
    const PortableServer::ObjectId_var id = poa->activate_object(servant);
    const CORBA::Object_var object = poa->id_to_reference(id.in());
    print(orb, object.in());
}

/// Returns the only servant, which it keeps alive for the length of the call.
class FloorLocator final : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    explicit FloorLocator(PortableServer::Servant servant) : servant_(servant) {}
    PortableServer::Servant preinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr,
                                      const char*, void*&) override {
        servant_->_add_ref();
        return servant_;
    }
    void postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr, const char*, void*,
                    PortableServer::Servant servant) override {
        servant->_remove_ref();
    }

  private:
    PortableServer::Servant servant_;
};

class Policies {
  public:
    explicit Policies(PortableServer::POA_ptr root) {
        list_.length(3);
        list_[0] = root->create_request_processing_policy(PortableServer::USE_SERVANT_MANAGER);
        list_[1] = root->create_servant_retention_policy(PortableServer::NON_RETAIN);
        list_[2] = root->create_id_assignment_policy(PortableServer::USER_ID);
    }
    ~Policies() {
        for (CORBA::ULong i = 0; i < list_.length(); ++i)
            list_[i]->destroy();
    }
    const CORBA::PolicyList& list() const { return list_; }

  private:
    CORBA::PolicyList list_;
};

/// Make POAs as the product makes them, one for each session, with names of the same length.
std::vector<PortableServer::POA_var> makeSessionPoas(PortableServer::POA_ptr root,
                                                     PortableServer::POAManager_ptr manager,
                                                     int count, PortableServer::Servant servant) {
    constexpr int kFirstPort = 20000;
    const Policies policies(root);
    std::vector<PortableServer::POA_var> poas;
    for (int i = 0; i < count; ++i) {
        const std::string name = "<USERNAME_TAG>bench</USERNAME_TAG><IPANDPORT_TAG>127.0.0.1:" +
                                 std::to_string(kFirstPort + i) + "</IPANDPORT_TAG>";
        poas.emplace_back(root->create_POA(name.c_str(), manager, policies.list()));
        const PortableServer::ServantLocator_var locator = new FloorLocator(servant);
        poas.back()->set_servant_manager(locator.in());
    }
    return poas;
}

void serve(int objects, bool withPort, int sessionPoas) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    const CORBA::ORB_var orb = withPort ? kelp::orb::start(options, nullptr)
                                        : kelp::bench::startBareOrb("session_bench_floor", options);
    const CORBA::Object_var rootObject = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    const PortableServer::POA_var poa =
        root->create_POA("floor", manager.in(), CORBA::PolicyList());
    auto* const shared = new FloorManager;
    const PortableServer::ServantBase_var sharedOwned = shared;
    const std::vector<PortableServer::POA_var> located =
        makeSessionPoas(root.in(), manager.in(), sessionPoas, shared);
    const PortableServer::ObjectId_var name = PortableServer::string_to_ObjectId("EMS");
    for (int i = 0; i < objects; ++i) {
        printActive(orb.in(), poa.in(), new FloorSession);
        if (located.empty()) {
            printActive(orb.in(), poa.in(), new FloorManager);
        } else {
            const PortableServer::POA_var& own =
                located[static_cast<std::size_t>(i) % located.size()];
            const CORBA::Object_var object = own->create_reference_with_id(
                name.in(), "IDL:mtnm.tmforum.org/emsMgr/EMSMgr_I:1.0");
            print(orb.in(), object.in());
        }
    }
    if (withPort)
        kelp::orb::letCallersThrough(manager.in());
    else
        manager->activate();
    std::cout << "ready" << std::endl;
    while (std::getchar() != EOF) {
    }
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr
            << "usage: session_bench_floor <objects> [--with-port | --session-poas <number>]\n";
        return 2;
    }
    try {
        const std::string variant = argc > 2 ? argv[2] : "";
        const int sessionPoas = variant == "--session-poas" && argc > 3 ? std::stoi(argv[3]) : 0;
        serve(std::stoi(argv[1]), variant == "--with-port", sessionPoas);
    } catch (const CORBA::Exception& ex) {
        std::cerr << "session_bench_floor: " << kelp::orb::exceptionText(ex) << '\n';
        return 1;
    }
    return 0;
}
