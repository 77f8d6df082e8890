#pragma once

#include <kelp/inventory/generate.h>

#include <cstdint>
#include <string>
#include <vector>

#include "generator/network_shape.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

/// The facts about an element that its links need.
struct BuiltElement {
    std::string name;
    std::vector<std::int64_t> linePorts;  ///< ids: east, west, then those of a hub's mesh
};

/// Builds one element with its equipment and ports. The first element of a ring also gets the
/// subnetwork of the ring.
class ElementBuilder {
  public:
    ElementBuilder(RowWriter& rows, const NetworkPlan& plan);

    BuiltElement build(const ElementShape& shape, std::uint64_t ports);

  private:
    void addRing(const ElementShape& shape);
    void addElement(const ElementShape& shape);
    /// Put a card into the next slot. Adds a rack and a shelf when the slot is the first of a new
    /// one.
    void addCard(const CardType& card);
    /// Add ports to the card added last: at most `left`, and at most as many as the card has.
    /// Returns their number.
    std::uint64_t addPorts(const CardType& card, std::uint64_t left, bool isLine);
    void addCtps(const TerminationPoint& port);
    void addHolder(const std::string& path, const char* type, const std::string& card);

    RowWriter& rows_;
    const NetworkPlan plan_;
    const std::size_t digits_;
    SeededNumbers numbers_;

    std::int64_t ring_ = 0;  ///< subnetwork of the current ring

    // the current element
    BuiltElement built_;
    References references_;
    std::string town_;
    unsigned cards_ = 0;
    std::string slot_;
};

}  // namespace kelp::inventory
