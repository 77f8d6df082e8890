#pragma once

#include <kelp/inventory/generate.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::inventory {

/// Numbers that look random and are the same everywhere for the same seed (SplitMix64).
class SeededNumbers {
  public:
    explicit SeededNumbers(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next();
    /// 0 to `count` - 1. The remainder's tiny bias does not matter here.
    std::uint64_t below(std::uint64_t count) { return next() % count; }

  private:
    std::uint64_t state_;
};

/// A card of a product: what its ports are.
struct CardType {
    const char* name;
    unsigned ports;
    bool isOptical;
    LayerRates layers;  ///< from the physical one up
    LayerRate section;  ///< the layer that carries the trail's trace, and a link's rate
    LayerRate connectable;
};

const CardType& lineCard16();
const CardType& lineCard64();

struct Product {
    const char* name;
    const char* version;
    unsigned weight;  ///< of its part of the ports
    std::vector<const CardType*> tributaryCards;
};

/// One element of the network to be made up.
struct ElementShape {
    std::uint64_t number = 0;  ///< from 1
    std::uint64_t ring = 0;    ///< from 0
    std::uint64_t placeInRing = 0;
    std::uint64_t ringSize = 0;
    const Product* product = nullptr;
    const CardType* ringCard = nullptr;
    bool isHub() const { return placeInRing == 0; }
};

/// The elements of a plan one after the other: rings of 4 to 12, each with a hub that is the first
/// of its ring.
class NetworkShape {
  public:
    explicit NetworkShape(const NetworkPlan& plan) : left_(plan.elements), numbers_(plan.seed) {}
    bool next(ElementShape& element);

  private:
    std::uint64_t left_;
    SeededNumbers numbers_;
    ElementShape current_;
};

/// How many ports each element has: parts of all by the products' weights, that add up exactly. Ask
/// for the elements in their order.
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
