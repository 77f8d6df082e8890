// The floor that uploads are compared with: the ORB alone, with the options that the product uses,
// and servants of the standard's interfaces that return lists from memory. It uploads the lists
// from the product.
//
//     iterator_bench_floor <reference of the product's manager "ManagedElement">
//                          <elements with ports>
//
// It prints "lent <reference>" and "copied <reference>", the references of its managers that return
// lists in these ways, and serves until its standard input ends.

#include <kelp/orb/exception_text.h>
#include <kelp/orb/references.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "common/bare_orb.h"
#include "iterators/floor_iterator.h"
#include "iterators/floor_lists.h"

namespace {

using namespace kelp::bench;

/// Refuses every operation.
class RefusingManager : public virtual POA_managedElementManager::ManagedElementMgr_I {
  public:
#define MANAGER_OPERATION(module, interface, operation, parameters, support) \
    void operation parameters override {                                     \
        throw CORBA::NO_IMPLEMENT();                                         \
    }
#include "managed_element_operations.inc"
#undef MANAGER_OPERATION
};

using ElementIterator =
    FloorIterator<POA_managedElement::ManagedElementIterator_I,
                  managedElement::ManagedElementList_T, managedElement::ManagedElementList_T_out>;
using PortIterator = FloorIterator<POA_terminationPoint::TerminationPointIterator_I,
                                   terminationPoint::TerminationPointList_T,
                                   terminationPoint::TerminationPointList_T_out>;

class FloorManager final : public RefusingManager {
  public:
    FloorManager(PortableServer::POA_ptr poa, FloorLists& lists, Giving giving)
        : poa_(PortableServer::POA::_duplicate(poa)), lists_(lists), giving_(giving) {}

    void getAllManagedElements(CORBA::ULong howMany, managedElement::ManagedElementList_T_out some,
                               managedElement::ManagedElementIterator_I_out rest) override {
        rest = managedElement::ManagedElementIterator_I::_nil();
        const CORBA::Object_var made =
            giveList<ElementIterator>(poa_.in(), lists_.elements(), howMany, giving_, some);
        if (!CORBA::is_nil(made.in()))
            rest = managedElement::ManagedElementIterator_I::_unchecked_narrow(made.in());
    }
    void getAllPTPs(const globaldefs::NamingAttributes_T& element,
                    const transmissionParameters::LayerRateList_T&,
                    const transmissionParameters::LayerRateList_T&, CORBA::ULong howMany,
                    terminationPoint::TerminationPointList_T_out some,
                    terminationPoint::TerminationPointIterator_I_out rest) override {
        rest = terminationPoint::TerminationPointIterator_I::_nil();
        const CORBA::Object_var made =
            giveList<PortIterator>(poa_.in(), lists_.portsOf(element), howMany, giving_, some);
        if (!CORBA::is_nil(made.in()))
            rest = terminationPoint::TerminationPointIterator_I::_unchecked_narrow(made.in());
    }

  private:
    const PortableServer::POA_var poa_;
    FloorLists& lists_;
    const Giving giving_;
};

void printManager(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, FloorLists& lists,
                  Giving giving) {
    auto* const manager = new FloorManager(poa, lists, giving);
    const PortableServer::ServantBase_var owned = manager;
    const PortableServer::ObjectId_var id = poa->activate_object(manager);
    const CORBA::Object_var object = poa->id_to_reference(id.in());
    const CORBA::String_var text = orb->object_to_string(object.in());
    std::cout << (giving == Giving::Lent ? "lent " : "copied ") << text.in() << std::endl;
}

void serve(const std::string& product, std::size_t elementsWithPorts) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    const CORBA::ORB_var orb = startBareOrb("iterator_bench_floor", options);
    const CORBA::Object_var rootObject = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    const PortableServer::POA_var poa =
        root->create_POA("floor", manager.in(), CORBA::PolicyList());
    const CORBA::Object_var object = kelp::orb::toReference(orb.in(), product);
    const managedElementManager::ManagedElementMgr_I_var productManager =
        managedElementManager::ManagedElementMgr_I::_unchecked_narrow(object.in());
    FloorLists lists(productManager.in(), elementsWithPorts);
    manager->activate();
    for (const Giving giving : {Giving::Lent, Giving::Copied})
        printManager(orb.in(), poa.in(), lists, giving);
    while (std::getchar() != EOF) {
    }
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: iterator_bench_floor <reference> <elements with ports>\n";
        return 2;
    }
    try {
        serve(argv[1], std::stoul(argv[2]));
    } catch (const CORBA::Exception& failure) {
        std::cerr << "iterator_bench_floor: " << kelp::orb::exceptionText(failure) << '\n';
        return 1;
    } catch (const std::exception& failure) {
        std::cerr << "iterator_bench_floor: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
