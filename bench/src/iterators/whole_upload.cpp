#include <fmt/format.h>

#include <iostream>

#include "common/process_usage.h"
#include "iterators/measurements.h"

namespace kelp::bench {

Figure measureWholeUpload(const Stand& stand, const std::string& name, CORBA::ULong batch) {
    std::cerr << fmt::format("  {}\n", name);
    Walk all;
    for (const ListName& list : stand.portLists()) {
        const Walk one = walk(stand.product, list, Asks(batch));
        all.objects += one.objects;
        all.took += one.took;
    }
    Figure figure;
    figure.name = name;
    figure.unit = "objects/s";
    figure.value = all.perSecond();
    figure.note =
        fmt::format("{} ports of {} elements in {:.1f} s", all.objects, stand.portLists().size(),
                    std::chrono::duration<double>(all.took).count());
    return figure;
}

Figure memoryGrowth(const Stand& stand, const std::string& name) {
    constexpr double kMostMib = 64;
    constexpr double kKibAMib = 1024;
    const double peak = stand.residentPeak();
    Figure figure;
    figure.name = name;
    figure.unit = "MiB";
    figure.value = (peak - stand.residentBefore()) / kKibAMib;
    figure.aim = Aim{Aim::Of::Value, Aim::Bound::AtMost, kMostMib};
    figure.note = fmt::format("{:.1f} MiB before the first upload, at the peak {:.1f} MiB",
                              stand.residentBefore() / kKibAMib, peak / kKibAMib);
    return figure;
}

}  // namespace kelp::bench
