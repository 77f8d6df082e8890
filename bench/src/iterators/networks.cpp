#include "networks.h"

#include <fmt/format.h>
#include <kelp/inventory/generate.h>

#include <iostream>

namespace kelp::bench {

std::filesystem::path Networks::of(std::size_t elements, std::size_t ports) {
    const std::filesystem::path file = (kept_.empty() ? scratch_.path() : kept_) /
                                       fmt::format("network-{}-{}.db", elements, ports);
    if (std::filesystem::exists(file))
        return std::filesystem::absolute(file);
    std::cerr << fmt::format("making a network of {} elements and {} ports\n", elements, ports);
    inventory::NetworkPlan plan;
    plan.elements = elements;
    plan.ports = ports;
    // rename at the end, so that a partly generated network is never used
    const std::filesystem::path unfinished = file.string() + ".part";
    std::filesystem::remove(unfinished);
    inventory::generateNetwork(unfinished, plan);
    std::filesystem::rename(unfinished, file);
    return std::filesystem::absolute(file);
}

}  // namespace kelp::bench
