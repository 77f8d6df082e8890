#pragma once

#include <kelp/inventory/model.h>
#include <kelp/util/joined.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace kelp::inventory {

/// The names of the standard's enumerators, in the order of their values.
template <class Enum>
inline constexpr auto kWordsOf = nullptr;

template <>
inline constexpr auto kWordsOf<CommunicationState> = std::array{"CS_AVAILABLE", "CS_UNAVAILABLE"};
template <>
inline constexpr auto kWordsOf<ServiceState> =
    std::array{"IN_SERVICE", "OUT_OF_SERVICE", "OUT_OF_SERVICE_BY_MAINTENANCE", "SERV_NA"};
template <>
inline constexpr auto kWordsOf<HolderState> = std::array{"EMPTY",
                                                         "INSTALLED_AND_EXPECTED",
                                                         "EXPECTED_AND_NOT_INSTALLED",
                                                         "INSTALLED_AND_NOT_EXPECTED",
                                                         "MISMATCH_OF_INSTALLED_AND_EXPECTED",
                                                         "UNAVAILABLE",
                                                         "UNKNOWN"};
template <>
inline constexpr auto kWordsOf<Directionality> =
    std::array{"D_NA", "D_BIDIRECTIONAL", "D_SOURCE", "D_SINK"};
template <>
inline constexpr auto kWordsOf<TpConnectionState> =
    std::array{"TPCS_NA", "TPCS_SOURCE_CONNECTED", "TPCS_SINK_CONNECTED", "TPCS_BI_CONNECTED",
               "TPCS_NOT_CONNECTED"};
template <>
inline constexpr auto kWordsOf<TerminationMode> =
    std::array{"TM_NA", "TM_NEITHER_TERMINATED_NOR_AVAILABLE_FOR_MAPPING",
               "TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING"};
template <>
inline constexpr auto kWordsOf<TpProtection> = std::array{"TPPA_NA", "TPPA_PSR_RELATED"};
template <>
inline constexpr auto kWordsOf<LinkDirection> = std::array{"CD_UNI", "CD_BI"};
template <>
inline constexpr auto kWordsOf<Topology> =
    std::array{"TOPO_SINGLETON", "TOPO_CHAIN",       "TOPO_PSR", "TOPO_OPEN_PSR",
               "TOPO_SPRING",    "TOPO_OPEN_SPRING", "TOPO_MESH"};

template <class Enum>
const char* wordOf(Enum value) {
    return kWordsOf<Enum>.at(static_cast<std::size_t>(value));
}

/// Returns nothing for a word that is not an enumerator's name.
template <class Enum>
std::optional<Enum> enumOf(std::string_view word) {
    const auto& words = kWordsOf<Enum>;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (word == words[i])
            return static_cast<Enum>(i);
    }
    return std::nullopt;
}

/// All the names, for a message.
template <class Enum>
std::string allWordsOf() {
    return util::joined(kWordsOf<Enum>, ", ");
}

}  // namespace kelp::inventory
