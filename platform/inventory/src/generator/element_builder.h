#pragma once

#include <kelp/inventory/generate.h>

#include <cstdint>
#include <string>
#include <vector>

#include "generator/network_shape.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

/// What the links of an element need to know of it.
struct BuiltElement {
    std::string name;
    std::vector<std::int64_t> linePorts;  ///< ids: east, west, then those of a hub's mesh
};

/// Makes one element with its equipment and ports, and with the first of a ring the subnetwork that
/// the ring is.
class ElementBuilder {
  public:
    ElementBuilder(RowWriter& rows, const NetworkPlan& plan);

    BuiltElement build(const ElementShape& shape, std::uint64_t ports);

  private:
    void addRing(const ElementShape& shape);
    void addElement(const ElementShape& shape);
    /// The next slot with a card in it, and its rack and shelf when they are new.
    void addCard(const CardType& card);
    /// Ports of the card added last, no more than it has nor than are left.
    std::uint64_t addPorts(const CardType& card, std::uint64_t left, bool isLine);
    void addCtps(const TerminationPoint& port);
    void addHolder(const std::string& path, const char* type, const std::string& card);

    RowWriter& rows_;
    const NetworkPlan plan_;
    const std::size_t digits_;
    SeededNumbers numbers_;

    std::int64_t ring_ = 0;  ///< subnetwork of the ring in hand

    // of the element in hand
    BuiltElement built_;
    References references_;
    std::string town_;
    unsigned cards_ = 0;
    std::string slot_;
};

}  // namespace kelp::inventory
