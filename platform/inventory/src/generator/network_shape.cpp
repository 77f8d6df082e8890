#include "generator/network_shape.h"

#include <algorithm>
#include <iterator>

namespace kelp::inventory {

namespace {

// Layer rates: 46 electrical, 47 optical; 20, 22, 23 sections of STM-1, -16, -64; 25, 27, 28 their
// lines; 5 E1; 15 VC-4; 11 VC-12; 87, 97 Gigabit and Fast Ethernet signals; 96 Ethernet
const CardType kLine16{"LN16", 2, true, {47, 22, 27}, 22, 15};
const CardType kLine64{"LN64", 4, true, {47, 23, 28}, 23, 15};
const CardType kStm1{"S1-8", 8, true, {47, 20, 25}, 20, 15};
const CardType kE1{"E1-16", 16, false, {46, 5}, 5, 11};
const CardType kGigabit{"GE-8", 8, true, {47, 87, 96}, 96, 96};
const CardType kFast{"FE-8", 8, false, {46, 97, 96}, 96, 96};

const Product kCore{"KX-1600 Core Node", "R4.2", 40, {&kStm1, &kGigabit}};
const Product kOthers[] = {{"KX-480 Metro Node", "R4.1", 12, {&kE1, &kStm1, &kGigabit}},
                           {"KX-120 Access Node", "R3.7", 4, {&kE1, &kFast}},
                           {"KX-120 Access Node", "R3.8", 4, {&kE1, &kFast}},
                           {"KE-24 Ethernet Switch", "R2.0", 6, {&kGigabit, &kFast}}};

constexpr std::uint64_t kRingMin = 4;
constexpr std::uint64_t kRingMax = 12;

}  // namespace

std::uint64_t SeededNumbers::next() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
}

const CardType& lineCard16() {
    return kLine16;
}
const CardType& lineCard64() {
    return kLine64;
}

bool NetworkShape::next(ElementShape& element) {
    if (left_ == 0)
        return false;
    const bool isFirst = current_.number == 0;
    if (isFirst || current_.placeInRing + 1 == current_.ringSize) {
        current_.ring += isFirst ? 0 : 1;
        current_.placeInRing = 0;
        current_.ringSize = std::min(left_, kRingMin + numbers_.below(kRingMax - kRingMin + 1));
        current_.ringCard = numbers_.below(4) == 0 ? &kLine64 : &kLine16;
    } else {
        ++current_.placeInRing;
    }
    ++current_.number;
    current_.product = current_.isHub() ? &kCore : &kOthers[numbers_.below(std::size(kOthers))];
    --left_;
    element = current_;
    return true;
}

PortShares::PortShares(const NetworkPlan& plan) : ports_(plan.ports) {
    NetworkShape shape(plan);
    for (ElementShape element; shape.next(element);)
        allWeight_ += element.product->weight;
}

std::uint64_t PortShares::upTo(std::uint64_t weight) const {
    // no overflow: 1,000,000 elements of weight 40 with 100,000,000 ports give 4e15, far below 2^64
    return ports_ * weight / allWeight_;
}

std::uint64_t PortShares::of(const ElementShape& element) {
    const std::uint64_t before = upTo(weight_);
    weight_ += element.product->weight;
    return upTo(weight_) - before;
}

}  // namespace kelp::inventory
