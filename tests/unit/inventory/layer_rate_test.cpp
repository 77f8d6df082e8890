#include <gtest/gtest.h>
#include <kelp/inventory/layer_rate.h>

namespace kelp::inventory {
namespace {

TEST(LayerRates, HaveTheStandardsNames) {
    EXPECT_EQ(layerRateText(47), "LR_PHYSICAL_OPTICAL");
    EXPECT_EQ(layerRateText(22), "LR_Section_OC48_STS48_and_RS_STM16");
    EXPECT_EQ(layerRateText(316), "LR_DSR_100Gigabit_Ethernet");
    EXPECT_EQ(layerRateOf("LR_E1_2M"), 5);
    EXPECT_EQ(layerRateOf("5"), 5);
}

TEST(LayerRates, ContiguousConcatenationsAreNumberedThroughout) {
    EXPECT_EQ(layerRateText(114), "LR_STS2c_and_VC3_2c");
    EXPECT_EQ(layerRateText(115), "LR_STS4c_and_VC3_4c");
    EXPECT_EQ(layerRateText(123), "LR_STS15c_and_VC4_5c");
    EXPECT_EQ(layerRateText(296), "LR_STS191c_and_VC3_191c");
    EXPECT_EQ(layerRateOf("LR_STS12c_and_VC4_4c"), 16);
    for (int number = 1; number <= 316; ++number) {
        EXPECT_EQ(isLayerRate(number), number < 29 || number > 39) << number;
        if (isLayerRate(number)) {
            const auto rate = static_cast<LayerRate>(number);
            EXPECT_EQ(layerRateOf(layerRateText(rate)), rate);
        }
    }
}

TEST(LayerRates, OfVendorsAreNumbers) {
    EXPECT_EQ(layerRateText(10007), "10007");
    EXPECT_EQ(layerRateOf("10007"), 10007);
    for (const char* const text :
         {"", "0", "30", "317", "9999", "32768", "-1", "LR_", "lr_e1_2m", "5 ", "5x"})
        EXPECT_FALSE(layerRateOf(text)) << text;
}

}  // namespace
}  // namespace kelp::inventory
