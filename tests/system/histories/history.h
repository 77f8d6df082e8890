#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace kelp::test {

/// What happens next to the EMS or to one of its NMS.
struct Step {
    enum class Kind {
        Report,       ///< an adapter reports `severity` of `object` and waits for the answer
        LostReport,   ///< the same, but the adapter loses the connection, and reports once more
        Repeat,       ///< an adapter reports once more what it reported last
        Acknowledge,  ///< an operator acknowledges `object` with kelpnms
        KillHost,     ///< the host dies at some moment while an adapter reports `object`
        FreezeNms,    ///< the unsteady NMS stops to answer
        ThawNms,      ///< it answers again
        RestartNms    ///< it is killed, and another one starts
    };
    Kind kind = Kind::Report;
    int object = 0;
    std::string severity;  ///< PS_CLEARED to PS_CRITICAL
    int delayMs = 0;       ///< of the death of the host
};

std::ostream& operator<<(std::ostream& out, const Step& step);

/// A random history. The same seed gives the same history.
std::vector<Step> makeHistory(std::uint64_t seed, int length);

}  // namespace kelp::test
