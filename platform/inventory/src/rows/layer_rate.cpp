#include <kelp/inventory/layer_rate.h>

#include <charconv>
#include <limits>
#include <map>
#include <unordered_map>

namespace kelp::inventory {

namespace {

struct NamedRate {
    LayerRate number;
    const char* name;
};

/// The rates that are listed by name.
constexpr NamedRate kNamed[] = {
    {1, "LR_Not_Applicable"},
    {2, "LR_T1_and_DS1_1_5M"},
    {3, "LR_T2_and_DS2_6M"},
    {4, "LR_T3_and_DS3_45M"},
    {5, "LR_E1_2M"},
    {6, "LR_E2_8M"},
    {7, "LR_E3_34M"},
    {8, "LR_E4_140M"},
    {9, "LR_E5_565M"},
    {10, "LR_VT1_5_and_TU11_VC11"},
    {11, "LR_VT2_and_TU12_VC12"},
    {12, "LR_VT6_and_TU2_VC2"},
    {13, "LR_Low_Order_TU3_VC3"},
    {14, "LR_STS1_and_AU3_High_Order_VC3"},
    {15, "LR_STS3c_and_AU4_VC4"},
    {16, "LR_STS12c_and_VC4_4c"},
    {17, "LR_STS48c_and_VC4_16c"},
    {18, "LR_STS192c_and_VC4_64c"},
    {19, "LR_Section_OC1_STS1_and_RS_STM0"},
    {20, "LR_Section_OC3_STS3_and_RS_STM1"},
    {21, "LR_Section_OC12_STS12_and_RS_STM4"},
    {22, "LR_Section_OC48_STS48_and_RS_STM16"},
    {23, "LR_Section_OC192_STS192_and_RS_STM64"},
    {24, "LR_Line_OC1_STS1_and_MS_STM0"},
    {25, "LR_Line_OC3_STS3_and_MS_STM1"},
    {26, "LR_Line_OC12_STS12_and_MS_STM4"},
    {27, "LR_Line_OC48_STS48_and_MS_STM16"},
    {28, "LR_Line_OC192_STS192_and_MS_STM64"},
    {40, "LR_Optical_Channel"},
    {41, "LR_Optical_Multiplex_Section"},
    {42, "LR_Optical_Transmission_Section"},
    {43, "LR_ATM_NI"},
    {44, "LR_ATM_VP"},
    {45, "LR_ATM_VC"},
    {46, "LR_PHYSICAL_ELECTRICAL"},
    {47, "LR_PHYSICAL_OPTICAL"},
    {48, "LR_PHYSICAL_MEDIALESS"},
    {49, "LR_OPTICAL_SECTION"},
    {50, "LR_DIGITAL_SIGNAL_RATE"},
    {51, "LR_Async_FOTS_150M"},
    {52, "LR_Async_FOTS_417M"},
    {53, "LR_Async_FOTS_560M"},
    {54, "LR_Async_FOTS_565M"},
    {55, "LR_Async_FOTS_1130M"},
    {56, "LR_Async_FOTS_1G7"},
    {57, "LR_Async_FOTS_1G8"},
    {58, "LR_D1_Video"},
    {59, "LR_ESCON"},
    {60, "LR_ETR"},
    {61, "LR_Fast_Ethernet"},
    {62, "LR_FC_12_133M"},
    {63, "LR_FC_25_266M"},
    {64, "LR_FC_50_531M"},
    {65, "LR_FC_100_1063M"},
    {66, "LR_FDDI"},
    {67, "LR_FICON"},
    {68, "LR_Gigabit_Ethernet"},
    {69, "LR_DS0_64K"},
    {70, "LR_ISDN_BRI"},
    {71, "LR_POTS"},
    {72, "LR_DSR_OC1_STM0"},
    {73, "LR_DSR_OC3_STM1"},
    {74, "LR_DSR_OC12_STM4"},
    {75, "LR_DSR_OC24_STM8"},
    {76, "LR_DSR_OC48_and_STM16"},
    {77, "LR_DSR_OC192_and_STM64"},
    {78, "LR_DSR_OC768_and_STM256"},
    {79, "LR_DSR_1_5M"},
    {80, "LR_DSR_2M"},
    {81, "LR_DSR_6M"},
    {82, "LR_DSR_8M"},
    {83, "LR_DSR_34M"},
    {84, "LR_DSR_45M"},
    {85, "LR_DSR_140M"},
    {86, "LR_DSR_565M"},
    {87, "LR_DSR_Gigabit_Ethernet"},
    {88, "LR_Section_OC24_STS24_and_RS_STM8"},
    {89, "LR_Line_OC24_STS24_and_MS_STM8"},
    {90, "LR_Section_OC768_STS768_and_RS_STM256"},
    {91, "LR_Line_OC768_STS768_and_MS_STM256"},
    {92, "LR_STS768c_and_VC4_256c"},
    {93, "LR_DSR_2xSTM1"},
    {94, "LR_E20_2x2M"},
    {95, "LR_E30_8x2M"},
    {96, "LR_Ethernet"},
    {97, "LR_DSR_Fast_Ethernet"},
    {98, "LR_Encapsulation"},
    {99, "LR_Fragment"},
    {100, "LR_STS6c_and_VC4_2c"},
    {101, "LR_STS9c_and_VC4_3c"},
    {102, "LR_STS21c_and_VC4_7c"},
    {103, "LR_STS24c_and_VC4_8c"},
    {104, "LR_OCH_Data_Unit_1"},
    {105, "LR_OCH_Data_Unit_2"},
    {106, "LR_OCH_Data_Unit_3"},
    {107, "LR_OCH_Transport_Unit_1"},
    {108, "LR_OCH_Transport_Unit_2"},
    {109, "LR_OCH_Transport_Unit_3"},
    {110, "LR_DSR_OTU1"},
    {111, "LR_DSR_OTU2"},
    {112, "LR_DSR_OTU3"},
    {113, "LR_DSR_10Gigabit_Ethernet"},
    {297, "LR_FR_IF"},
    {298, "LR_FR_PVC"},
    {299, "LR_DSL"},
    {300, "LR_DSR_4M"},
    {301, "LR_DSR_16M"},
    {302, "LR_DSR_DVB"},
    {303, "LR_DVB"},
    {304, "LR_RPR"},
    {305, "LR_LAG_Fragment"},
    {306, "LR_IPTV"},
    {307, "LR_Unknown"},
    {308, "LR_MPLS"},
    {309, "LR_T_MPLS"},
    {310, "LR_FC_200_2126M"},
    {311, "LR_FC_400_4250M"},
    {312, "LR_FC_800_8500M"},
    {313, "LR_FC_1000_10520M"},
    {314, "LR_FC_1200_12750M"},
    {315, "LR_FC_1600_17000M"},
    {316, "LR_DSR_100Gigabit_Ethernet"},
};

/// Contiguous concatenations of n STS-1. The rate is n plus an offset. The offset shrinks by one
/// after each n whose rate is in kNamed.
struct ConcatenationOffset {
    int first;
    int last;
    int offset;
};
constexpr ConcatenationOffset kConcatenations[] = {
    {2, 2, 112},   {4, 5, 111},   {7, 8, 110},   {10, 11, 109},
    {13, 20, 108}, {22, 23, 107}, {25, 47, 106}, {49, 191, 105},
};

std::string concatenationName(int n) {
    const std::string begin = "LR_STS" + std::to_string(n) + "c_and_";
    return n % 3 == 0 ? begin + "VC4_" + std::to_string(n / 3) + "c"
                      : begin + "VC3_" + std::to_string(n) + "c";
}

struct Rates {
    std::map<int, std::string> names;
    std::unordered_map<std::string, LayerRate> numbers;

    Rates() {
        for (const NamedRate& rate : kNamed)
            names.emplace(rate.number, rate.name);
        for (const ConcatenationOffset& part : kConcatenations) {
            for (int n = part.first; n <= part.last; ++n)
                names.emplace(n + part.offset, concatenationName(n));
        }
        for (const auto& [number, name] : names)
            numbers.emplace(name, static_cast<LayerRate>(number));
    }
};

const Rates& rates() {
    static const Rates all;
    return all;
}

}  // namespace

bool isLayerRate(int number) {
    return (number >= kProprietaryRates && number <= std::numeric_limits<LayerRate>::max()) ||
           rates().names.count(number) != 0;
}

std::string layerRateText(LayerRate rate) {
    const auto found = rates().names.find(rate);
    return found == rates().names.end() ? std::to_string(rate) : found->second;
}

std::optional<LayerRate> layerRateOf(std::string_view text) {
    if (const auto found = rates().numbers.find(std::string(text)); found != rates().numbers.end())
        return found->second;
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !isLayerRate(number))
        return std::nullopt;
    return static_cast<LayerRate>(number);
}

}  // namespace kelp::inventory
