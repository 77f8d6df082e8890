#pragma once

#include <kelp/orb/corba.h>
#include <mtnm/managedElementManager.h>

#include <cstddef>
#include <string>
#include <unordered_map>

#include "iterators/kept_list.h"

namespace kelp::bench {

/// The floor's part of a product's inventory: all elements, and the ports of the first elements.
class FloorLists {
  public:
    using Elements = KeptList<managedElement::ManagedElementList_T>;
    using Ports = KeptList<terminationPoint::TerminationPointList_T>;

    /// Upload the lists from the product. Throws CORBA::Exception.
    FloorLists(managedElementManager::ManagedElementMgr_I_ptr product,
               std::size_t elementsWithPorts);

    Elements& elements() { return elements_; }
    /// Return the ports of an element. Throws CORBA::NO_RESOURCES when the floor does not have
    /// them.
    Ports& portsOf(const globaldefs::NamingAttributes_T& element);

  private:
    Elements elements_;
    std::unordered_map<std::string, Ports> ports_;
};

}  // namespace kelp::bench
