#include "rows/packed_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/inventory/failure.h>

namespace kelp::inventory {
namespace {

template <class List>
List unpacked(const std::string& bytes) {
    List list = {{}};
    unpack(bytes, list);
    return list;
}

TEST(PackedValues, ComeBackAsTheyWere) {
    const LayeredParameterList layers = {
        {47, {}}, {10007, {{"Trace", std::string(300, 'x')}, {"", "é"}}}, {22, {{"a", ""}}}};
    EXPECT_EQ(unpacked<LayeredParameterList>(packed(layers)), layers);
    const NameValues values = {{"Manufacturer", "Kelp"}, {"with \"quotes\"", "and\nlines"}};
    EXPECT_EQ(unpacked<NameValues>(packed(values)), values);
    const LayerRates rates = {1, 127, 128, 316, 32767};
    EXPECT_EQ(unpacked<LayerRates>(packed(rates)), rates);
    const std::vector<std::string> texts = {"", "a,b", "c"};
    EXPECT_EQ(unpacked<std::vector<std::string>>(packed(texts)), texts);
}

TEST(PackedValues, OfEmptyListsAreEmpty) {
    EXPECT_EQ(packed(NameValues()), "");
    EXPECT_THAT(unpacked<LayerRates>(""), testing::IsEmpty());
}

TEST(PackedValues, CanBeSearchedForRates) {
    const std::string layers = packed(LayeredParameterList{{47, {{"20", "20"}}}, {200, {}}});
    EXPECT_TRUE(hasLayerOf(layers, {5, 200}));
    EXPECT_TRUE(hasLayerOf(layers, {47}));
    EXPECT_FALSE(hasLayerOf(layers, {20, 2, 1}));
    EXPECT_TRUE(hasRateOf(packed(LayerRates{5, 200}), {200}));
    EXPECT_FALSE(hasRateOf(packed(LayerRates{5, 200}), {47}));
}

TEST(PackedValues, ThatAreDamagedAreRefused) {
    const std::string whole = packed(LayeredParameterList{{200, {{"name", "value"}}}});
    LayeredParameterList layers;
    for (std::size_t size = 1; size < whole.size(); ++size)
        EXPECT_THROW(unpack(whole.substr(0, size), layers), InventoryFailure) << size;
    LayerRates rates;
    EXPECT_THROW(unpack(std::string(20, '\xFF'), rates), InventoryFailure);
}

}  // namespace
}  // namespace kelp::inventory
