#pragma once

#include <kelp/inventory/generate.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::inventory {

/// Pseudo-random numbers (SplitMix64). The same seed gives the same numbers on every machine.
class SeededNumbers {
  public:
    explicit SeededNumbers(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next();
    /// A number from 0 to `count` - 1. The small bias of the remainder does not matter here.
    std::uint64_t below(std::uint64_t count) { return next() % count; }

  private:
    std::uint64_t state_;
};

/// A type of card and of its ports.
struct CardType {
    const char* name;
    unsigned ports;
    bool isOptical;
    LayerRates layers;  ///< from the physical layer up
    LayerRate section;  ///< the layer that carries the trail trace; also the rate of the links
    LayerRate connectable;
};

const CardType& lineCard16();
const CardType& lineCard64();

struct Product {
    const char* name;
    const char* version;
    unsigned weight;  ///< share of the ports, relative to the other products
    std::vector<const CardType*> tributaryCards;
};

/// The place, type and ring of one generated element.
struct ElementShape {
    std::uint64_t number = 0;  ///< from 1
    std::uint64_t ring = 0;    ///< from 0
    std::uint64_t placeInRing = 0;
    std::uint64_t ringSize = 0;
    const Product* product = nullptr;
    const CardType* ringCard = nullptr;
    bool isHub() const { return placeInRing == 0; }
};

/// Produces the elements of a plan one after the other, in rings of 4 to 12. The first element of
/// each ring is its hub.
class NetworkShape {
  public:
    explicit NetworkShape(const NetworkPlan& plan) : left_(plan.elements), numbers_(plan.seed) {}
    bool next(ElementShape& element);

  private:
    std::uint64_t left_;
    SeededNumbers numbers_;
    ElementShape current_;
};

/// Shares the ports out among the elements by the weights of their products. The shares add up to
/// the exact total. Call of() for the elements in their order.
class PortShares {
  public:
    explicit PortShares(const NetworkPlan& plan);
    std::uint64_t of(const ElementShape& element);

  private:
    std::uint64_t upTo(std::uint64_t weight) const;

    const std::uint64_t ports_;
    std::uint64_t allWeight_ = 0;
    std::uint64_t weight_ = 0;
};

}  // namespace kelp::inventory
