#include "history.h"

#include <rapidcheck.h>

#include <array>
#include <ostream>

namespace kelp::test {

namespace {

constexpr int kObjects = 8;
constexpr int kDelayMsMax = 30;
constexpr std::array kSeverities = {"PS_CLEARED", "PS_WARNING", "PS_MAJOR", "PS_CRITICAL"};
constexpr std::array kNames = {"report",    "lost report", "repeat",   "acknowledge",
                               "kill host", "freeze NMS",  "thaw NMS", "restart NMS"};

rc::Gen<Step> anyStep() {
    using Kind = Step::Kind;
    return rc::gen::construct<Step>(
        rc::gen::weightedElement<Kind>({{20, Kind::Report},
                                        {4, Kind::LostReport},
                                        {3, Kind::Repeat},
                                        {2, Kind::Acknowledge},
                                        {2, Kind::KillHost},
                                        {1, Kind::FreezeNms},
                                        {2, Kind::ThawNms},
                                        {1, Kind::RestartNms}}),
        rc::gen::inRange(0, kObjects),
        rc::gen::map(rc::gen::inRange<std::size_t>(0, kSeverities.size()),
                     [](std::size_t place) { return std::string(kSeverities.at(place)); }),
        rc::gen::inRange(0, kDelayMsMax));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Step& step) {
    return out << kNames.at(static_cast<std::size_t>(step.kind)) << " " << step.object << " "
               << step.severity << " " << step.delayMs;
}

std::vector<Step> makeHistory(std::uint64_t seed, int length) {
    const auto steps =
        rc::gen::container<std::vector<Step>>(static_cast<std::size_t>(length), anyStep());
    return steps(rc::Random(seed), rc::kNominalSize).value();
}

}  // namespace kelp::test
