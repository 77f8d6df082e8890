#pragma once

#include <kelp/traps/decoder.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <string>

namespace kelp::traps {

/// What happened to the messages. Any thread may count.
struct Counts {
    using Count = std::atomic<std::uint64_t>;

    Count received{0};
    std::array<Count, kVerdicts> verdicts{};
    Count wrongSource{0};
    Count tooMany{0};  ///< more than the source may send
    Count queueFull{0};
    Count known{0};
    Count unknown{0};
    Count unknownDropped{0};
    Count stored{0};
    Count notStored{0};
    Count acknowledged{0};

    std::map<std::string, std::uint64_t> byName() const {
        std::map<std::string, std::uint64_t> all = {{"received", received},
                                                    {"wrongSource", wrongSource},
                                                    {"tooMany", tooMany},
                                                    {"queueFull", queueFull},
                                                    {"known", known},
                                                    {"unknown", unknown},
                                                    {"unknownDropped", unknownDropped},
                                                    {"stored", stored},
                                                    {"notStored", notStored},
                                                    {"acknowledged", acknowledged}};
        for (std::size_t at = 0; at < verdicts.size(); ++at)
            all[nameOf(static_cast<Verdict>(at))] = verdicts[at];
        return all;
    }
};

}  // namespace kelp::traps
