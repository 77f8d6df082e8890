#include "floor_lists.h"

namespace kelp::bench {

namespace {

FloorLists::Elements elementsAt(managedElementManager::ManagedElementMgr_I_ptr product) {
    managedElement::ManagedElementList_T_var first;
    managedElement::ManagedElementIterator_I_var rest;
    product->getAllManagedElements(kUploadBatch, first.out(), rest.out());
    return wholeList(first.in(), rest.in());
}

FloorLists::Ports portsAt(managedElementManager::ManagedElementMgr_I_ptr product,
                          const globaldefs::NamingAttributes_T& element) {
    const transmissionParameters::LayerRateList_T anyRate;
    terminationPoint::TerminationPointList_T_var first;
    terminationPoint::TerminationPointIterator_I_var rest;
    product->getAllPTPs(element, anyRate, anyRate, kUploadBatch, first.out(), rest.out());
    return wholeList(first.in(), rest.in());
}

std::string keyOf(const globaldefs::NamingAttributes_T& element) {
    return element.length() == 0 ? "" : std::string(element[element.length() - 1].value);
}

}  // namespace

FloorLists::FloorLists(managedElementManager::ManagedElementMgr_I_ptr product,
                       std::size_t elementsWithPorts)
    : elements_(elementsAt(product)) {
    managedElement::ManagedElementList_T_var some = elements_.part(
        0, static_cast<CORBA::ULong>(std::min<std::size_t>(elementsWithPorts, elements_.length())),
        Giving::Lent);
    for (CORBA::ULong i = 0; i < some->length(); ++i)
        ports_.emplace(keyOf(some[i].name), portsAt(product, some[i].name));
}

FloorLists::Ports& FloorLists::portsOf(const globaldefs::NamingAttributes_T& element) {
    const auto found = ports_.find(keyOf(element));
    if (found == ports_.end())
        throw CORBA::NO_RESOURCES();
    return found->second;
}

}  // namespace kelp::bench
