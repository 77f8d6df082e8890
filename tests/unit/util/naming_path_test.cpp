#include <gtest/gtest.h>
#include <kelp/util/naming_path.h>

#include <stdexcept>
#include <utility>

namespace kelp::util {
namespace {

TEST(NamingPath, ComponentsAreJoinedAndTheirKindsFollowADot) {
    EXPECT_EQ(toText({{"TMF_MTNM", "Class"}, {"Kelp", "Vendor"}}), "TMF_MTNM.Class/Kelp.Vendor");
    EXPECT_EQ(toText({{"plain", ""}}), "plain");
}

TEST(NamingPath, SeparatorsInsideAPartAreEscaped) {
    EXPECT_EQ(toText({{"Kelp/EMS", "EmsInstance"}, {"3.5", "Version"}, {"a\\b", ""}}),
              "Kelp\\/EMS.EmsInstance/3\\.5.Version/a\\\\b");
}

TEST(NamingPath, EmptyPartsKeepTheirDot) {
    EXPECT_EQ(toText({{"", "kind"}}), ".kind");
    EXPECT_EQ(toText({{"", ""}}), ".");
    EXPECT_EQ(toText({}), "");
}

TEST(NamingPath, EveryTextLeadsBackToItsName) {
    const NamingPath paths[] = {
        {{"TMF_MTNM", "Class"},
         {"Kelp", "Vendor"},
         {"Kelp/EMS", "EmsInstance"},
         {"3_5", "Version"}},
        {{"", "kind"}, {"id", ""}, {"", ""}},
        {{"\\/.", "./\\"}},
    };
    for (const NamingPath& path : paths)
        EXPECT_EQ(toNamingPath(toText(path)), path) << toText(path);
}

TEST(NamingPath, TextsThatAreNoNamesAreRefusedWithTheReason) {
    const std::pair<const char*, const char*> texts[] = {
        {"", "the text is empty"},       {"a//b", "an empty component"},
        {"/a", "an empty component"},    {"a/", "nothing after the last"},
        {"a.b.c", "a second unescaped"}, {"a\\x", "escapes neither"},
        {"a\\", "escapes neither"},
    };
    for (const auto& [text, reason] : texts) {
        try {
            toNamingPath(text);
            ADD_FAILURE() << "\"" << text << "\" was taken for a name";
        } catch (const std::invalid_argument& refusal) {
            EXPECT_NE(std::string(refusal.what()).find(reason), std::string::npos)
                << refusal.what();
        }
    }
}

TEST(FactoryPath, FollowsFromNameAndVersionOfTheEms) {
    EXPECT_EQ(toText(factoryPath("Kelp/EMS", "3.5")),
              "TMF_MTNM.Class/Kelp.Vendor/Kelp\\/EMS.EmsInstance/3_5.Version/Kelp\\/"
              "EMS.EmsSessionFactory_I");
}

}  // namespace
}  // namespace kelp::util
