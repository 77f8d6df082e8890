#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/time_change.h>

namespace NS_KELPCORBA {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::list<std::string> parts(const std::string& text, const std::string& delims) {
    std::list<std::string> made;
    KELP_Utils::split(text, delims, made);
    return made;
}

TEST(Split, GivesNoEmptyParts) {
    EXPECT_THAT(parts("a-b--c", "-"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(parts("-a-", "-"), ElementsAre("a"));
    EXPECT_THAT(parts("a", "-"), ElementsAre("a"));
    EXPECT_THAT(parts("", "-"), IsEmpty());
    EXPECT_THAT(parts("---", "-"), IsEmpty());
}

TEST(Split, AppendsToWhatIsThere) {
    std::list<std::string> made{"before"};
    KELP_Utils::split("a-b", "-", made);
    EXPECT_THAT(made, ElementsAre("before", "a", "b"));
}

TEST(Split, TakesSeveralDelimitersAsOneText) {
    EXPECT_THAT(parts("a, b, c", ", "), ElementsAre("a", "b", "c"));
    EXPECT_THAT(parts("a,b c", ", "), ElementsAre("a,b c")) << "the whole text is the delimiter";
    EXPECT_THAT(parts(", ,a, b", ", "), ElementsAre("a", "b"))
        << "each of its characters is passed over";
    EXPECT_THAT(parts("a,b, c,", ", "), ElementsAre("a,b", "c,")) << "at a part's beginning only";
}

TEST(Split, WithoutDelimitersGivesAnEmptyPartForEveryCharacter) {
    EXPECT_THAT(parts("abc", ""), ElementsAre("", "", ""));
    EXPECT_THAT(parts("", ""), IsEmpty());
}

}  // namespace
}  // namespace NS_KELPCORBA
