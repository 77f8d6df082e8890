// Compares the linked library with the committed listing of the interface, type by type.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <string>

#include "listed_types.inc"
#include "type_code_text.h"

namespace {

/// Return a map from repository id to definition, without case labels and base interfaces, which a
/// TypeCode does not contain.
std::map<std::string, std::string> readListing() {
    static const std::regex notInTypeCodes("case \\w+: | : .*");
    std::map<std::string, std::string> definitions;
    std::ifstream file(INTERFACE_LISTING);
    for (std::string line; std::getline(file, line);) {
        const auto space = line.find(' ');
        definitions[line.substr(0, space)] =
            std::regex_replace(line.substr(space + 1), notInTypeCodes, "");
    }
    return definitions;
}

TEST(InterfaceListing, CoversTheWholeStandard) {
    std::map<std::string, int> count;
    for (const auto& [id, definition] : readListing()) {
        const auto oneway = definition.starts_with("oneway ") ? sizeof("oneway") : 0;
        ++count[definition.substr(oneway, definition.find(' ', oneway) - oneway)];
    }
    EXPECT_EQ(count["operation"], 362);
    EXPECT_EQ(count["readonly"], 1);
    EXPECT_EQ(count["struct"], 92);
    EXPECT_EQ(count["exception"], 1);
    EXPECT_EQ(count["enum"], 45);
    EXPECT_EQ(count["union"], 3);
    EXPECT_EQ(count["typedef"], 113);
    EXPECT_EQ(count["interface"], 50);
}

TEST(InterfaceListing, HoldsForEveryTypeOfTheLibrary) {
    const auto listing = readListing();
    std::size_t compared = 0;
    for (const auto& listed : listedTypes) {
        SCOPED_TRACE(listed.id);
        EXPECT_STREQ(listed.type->id(), listed.id);
        ASSERT_TRUE(listing.contains(listed.id));
        EXPECT_EQ(typeCodeText(listed.type), listing.at(listed.id));
        ++compared;
    }
    EXPECT_EQ(compared, 92U + 1U + 45U + 3U + 113U + 50U);
}

}  // namespace
