#pragma once

#include <kelp/orb/corba.h>
#include <mtnm/managedElementManager.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kelp::bench {

/// How the floor returns a part of a list that it has in memory. Lent: the ORB encodes the entries
/// in place. Copied: the servant returns a copy, as is usual in the C++ mapping.
enum class Giving { Lent, Copied };

/// A list in memory, as it was received. Lent parts must not outlive it.
template <class Sequence>
class KeptList {
  public:
    explicit KeptList(std::unique_ptr<Sequence> rows) : rows_(std::move(rows)) {}

    CORBA::ULong length() const { return rows_->length(); }
    /// Return a part. The caller owns it.
    Sequence* part(CORBA::ULong from, CORBA::ULong most, Giving giving) {
        const CORBA::ULong count = std::min(most, length() - std::min(from, length()));
        auto lent = std::make_unique<Sequence>(count, count, rows_->get_buffer() + from, false);
        // the copy of a sequence that does not own its entries does own them
        return giving == Giving::Copied ? new Sequence(*lent) : lent.release();
    }

  private:
    std::unique_ptr<Sequence> rows_;
};

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
