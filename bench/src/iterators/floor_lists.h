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

/// How the floor gives a part of a list that it has in memory: lent to the ORB, which encodes it
/// where it lies, or as a copy, as the C++ mapping has a servant do it.
enum class Giving { Lent, Copied };

/// A list in memory, as it came over the wire. Lent parts must not outlive it.
template <class Sequence>
class KeptList {
  public:
    explicit KeptList(std::unique_ptr<Sequence> rows) : rows_(std::move(rows)) {}

    CORBA::ULong length() const { return rows_->length(); }
    /// The caller owns it.
    Sequence* part(CORBA::ULong from, CORBA::ULong most, Giving giving) {
        const CORBA::ULong count = std::min(most, length() - std::min(from, length()));
        auto lent = std::make_unique<Sequence>(count, count, rows_->get_buffer() + from, false);
        // the copy of a sequence that lends is one that owns
        return giving == Giving::Copied ? new Sequence(*lent) : lent.release();
    }

  private:
    std::unique_ptr<Sequence> rows_;
};

/// What the floor has of a product's inventory: all elements, and the ports of the first of them.
class FloorLists {
  public:
    using Elements = KeptList<managedElement::ManagedElementList_T>;
    using Ports = KeptList<terminationPoint::TerminationPointList_T>;

    /// Uploads them from the product. Throws CORBA::Exception.
    FloorLists(managedElementManager::ManagedElementMgr_I_ptr product,
               std::size_t elementsWithPorts);

    Elements& elements() { return elements_; }
    /// The ports of an element; throws CORBA::NO_RESOURCES when they are not here.
    Ports& portsOf(const globaldefs::NamingAttributes_T& element);

  private:
    Elements elements_;
    std::unordered_map<std::string, Ports> ports_;
};

}  // namespace kelp::bench
