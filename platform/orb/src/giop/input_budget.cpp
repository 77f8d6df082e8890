#include "giop/input_budget.h"

namespace kelp::orb::giop {

bool InputBudget::take(std::size_t octets) {
    const std::size_t max = octetsMax_;
    std::size_t used = used_;
    do {
        if (octets > max || used > max - octets)
            return false;
    } while (!used_.compare_exchange_weak(used, used + octets));
    return true;
}

}  // namespace kelp::orb::giop
