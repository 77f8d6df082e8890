#pragma once

#include <kelp/inventory/model.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace kelp::inventory {

// The standard's enumerators by their words, in the order of their values.
inline constexpr std::array kWordsOfCommunicationState = {"CS_AVAILABLE", "CS_UNAVAILABLE"};
inline constexpr std::array kWordsOfServiceState = {"IN_SERVICE", "OUT_OF_SERVICE",
                                                    "OUT_OF_SERVICE_BY_MAINTENANCE", "SERV_NA"};
inline constexpr std::array kWordsOfHolderState = {"EMPTY",
                                                   "INSTALLED_AND_EXPECTED",
                                                   "EXPECTED_AND_NOT_INSTALLED",
                                                   "INSTALLED_AND_NOT_EXPECTED",
                                                   "MISMATCH_OF_INSTALLED_AND_EXPECTED",
                                                   "UNAVAILABLE",
                                                   "UNKNOWN"};
inline constexpr std::array kWordsOfDirectionality = {"D_NA", "D_BIDIRECTIONAL", "D_SOURCE", "D_SINK"};
inline constexpr std::array kWordsOfTpConnectionState = {
    "TPCS_NA", "TPCS_SOURCE_CONNECTED", "TPCS_SINK_CONNECTED", "TPCS_BI_CONNECTED", "TPCS_NOT_CONNECTED"};
inline constexpr std::array kWordsOfTerminationMode = {
    "TM_NA", "TM_NEITHER_TERMINATED_NOR_AVAILABLE_FOR_MAPPING", "TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING"};
inline constexpr std::array kWordsOfTpProtection = {"TPPA_NA", "TPPA_PSR_RELATED"};
inline constexpr std::array kWordsOfLinkDirection = {"CD_UNI", "CD_BI"};
inline constexpr std::array kWordsOfTopology = {"TOPO_SINGLETON", "TOPO_CHAIN",  "TOPO_PSR",
                                                "TOPO_OPEN_PSR",  "TOPO_SPRING", "TOPO_OPEN_SPRING",
                                                "TOPO_MESH"};

constexpr const auto& wordsOf(CommunicationState) {
    return kWordsOfCommunicationState;
}
constexpr const auto& wordsOf(ServiceState) {
    return kWordsOfServiceState;
}
constexpr const auto& wordsOf(HolderState) {
    return kWordsOfHolderState;
}
constexpr const auto& wordsOf(Directionality) {
    return kWordsOfDirectionality;
}
constexpr const auto& wordsOf(TpConnectionState) {
    return kWordsOfTpConnectionState;
}
constexpr const auto& wordsOf(TerminationMode) {
    return kWordsOfTerminationMode;
}
constexpr const auto& wordsOf(TpProtection) {
    return kWordsOfTpProtection;
}
constexpr const auto& wordsOf(LinkDirection) {
    return kWordsOfLinkDirection;
}
constexpr const auto& wordsOf(Topology) {
    return kWordsOfTopology;
}

template <class Enum>
const char* wordOf(Enum value) {
    return wordsOf(value).at(static_cast<std::size_t>(value));
}

/// None for a word that the enumeration does not have.
template <class Enum>
std::optional<Enum> enumOf(std::string_view word) {
    const auto& words = wordsOf(Enum{});
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (word == words[i])
            return static_cast<Enum>(i);
    }
    return std::nullopt;
}

/// All the words, for a message.
template <class Enum>
std::string allWordsOf() {
    std::string all;
    for (const char* const word : wordsOf(Enum{}))
        all += (all.empty() ? "" : ", ") + std::string(word);
    return all;
}

}  // namespace kelp::inventory
