// The floor that reading the active alarms is compared with: the ORB alone, with the options that
// the product uses, and a servant that lends the events from memory. It uploads the list from the
// product.
//
//     alarm_bench_floor <reference of the product's manager "EMS">
//
// It prints the reference of its manager and serves until its standard input ends.

#include <kelp/orb/exception_text.h>
#include <kelp/orb/references.h>
#include <mtnm/emsMgr.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "common/bare_orb.h"
#include "iterators/floor_iterator.h"

namespace {

using namespace kelp::bench;
using Events = KeptList<notifications::EventList_T>;

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

using EventIterator = FloorIterator<POA_notifications::EventIterator_I, notifications::EventList_T,
                                    notifications::EventList_T_out>;

class FloorManager final : public RefusingManager {
  public:
    FloorManager(PortableServer::POA_ptr poa, Events& events)
        : poa_(PortableServer::POA::_duplicate(poa)), events_(events) {}

    void getAllEMSAndMEActiveAlarms(const notifications::ProbableCauseList_T&,
                                    const notifications::PerceivedSeverityList_T&,
                                    CORBA::ULong howMany, notifications::EventList_T_out some,
                                    notifications::EventIterator_I_out rest) override {
        rest = notifications::EventIterator_I::_nil();
        const CORBA::Object_var made =
            giveList<EventIterator>(poa_.in(), events_, howMany, Giving::Lent, some);
        if (!CORBA::is_nil(made.in()))
            rest = notifications::EventIterator_I::_unchecked_narrow(made.in());
    }

  private:
    const PortableServer::POA_var poa_;
    Events& events_;
};

Events eventsAt(emsMgr::EMSMgr_I_ptr product) {
    notifications::EventList_T_var first;
    notifications::EventIterator_I_var rest;
    product->getAllEMSAndMEActiveAlarms({}, {}, kUploadBatch, first.out(), rest.out());
    return wholeList(first.in(), rest.in());
}

void serve(const std::string& product) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    const CORBA::ORB_var orb = startBareOrb("alarm_bench_floor", options);
    const CORBA::Object_var rootObject = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    const CORBA::Object_var object = kelp::orb::toReference(orb.in(), product);
    const emsMgr::EMSMgr_I_var productManager = emsMgr::EMSMgr_I::_unchecked_narrow(object.in());
    Events events = eventsAt(productManager.in());
    manager->activate();
    auto* const servant = new FloorManager(root.in(), events);
    const PortableServer::ServantBase_var owned = servant;
    const PortableServer::ObjectId_var id = root->activate_object(servant);
    const CORBA::Object_var made = root->id_to_reference(id.in());
    const CORBA::String_var text = orb->object_to_string(made.in());
    std::cout << text.in() << std::endl;
    while (std::getchar() != EOF) {
    }
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: alarm_bench_floor REFERENCE\n";
        return 2;
    }
    try {
        serve(argv[1]);
    } catch (const CORBA::Exception& failure) {
        std::cerr << "alarm_bench_floor: " << kelp::orb::exceptionText(failure) << '\n';
        return 1;
    }
    return 0;
}
