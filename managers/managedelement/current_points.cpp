#include "current_points.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace kelp::managedelement {

namespace {

using inventory::TerminationMode;
using inventory::TerminationPoint;

bool hidesWhatIsInIt(const TerminationPoint& point) {
    return point.name.kind() == inventory::TpKind::Ctp &&
           point.tpMappingMode == TerminationMode::NeitherTerminatedNorAvailable;
}

/// Whether `names` contains the name of a point around the connection point `ctp`.
bool isInOneOf(const std::unordered_set<std::string>& names, const std::string& ctp) {
    for (std::size_t end = ctp.find('/', 1); end != std::string::npos;
         end = ctp.find('/', end + 1)) {
        if (names.contains(ctp.substr(0, end)))
            return true;
    }
    return false;
}

}  // namespace

inventory::RowIds currentPoints(inventory::Inventory& in, const TerminationPoint& around,
                                const inventory::LayerRates& layers) {
    if (hidesWhatIsInIt(around))
        return {};
    const auto rowsAt = [&](const inventory::LayerRates& rates) {
        return in.read<TerminationPoint>(in.tpsIn(around.id, rates, inventory::Depth::All));
    };
    std::unordered_set<std::string> hiding;
    for (const TerminationPoint& point : rowsAt({})) {
        if (hidesWhatIsInIt(point))
            hiding.insert(point.name.ctp);
    }
    inventory::RowIds current;
    for (const TerminationPoint& point : rowsAt(layers)) {
        if (!isInOneOf(hiding, point.name.ctp))
            current.append(point.id);
    }
    return current;
}

}  // namespace kelp::managedelement
