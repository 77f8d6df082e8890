#include <gtest/gtest.h>
#include <kelp/util/thread_context.h>

#include <limits>
#include <string>

namespace {

const std::string kSessionName =
    "<USERNAME_TAG>admin</USERNAME_TAG><IPANDPORT_TAG>10.0.0.1:4000</IPANDPORT_TAG>";

std::string valueOf(const std::string& text, const std::string& open, const std::string& close,
                    int length) {
    return NS_UTIL::SelfUtilCommon::Instance()->GetValByTag(text, open, close, length);
}

TEST(TaggedText, ValueStandsBetweenItsTags) {
    EXPECT_EQ(valueOf(kSessionName, "<USERNAME_TAG>", "</USERNAME_TAG>", 14), "admin");
    EXPECT_EQ(valueOf(kSessionName, "<IPANDPORT_TAG>", "</IPANDPORT_TAG>", 15), "10.0.0.1:4000");
}

TEST(TaggedText, MissingTagsGiveNothing) {
    EXPECT_EQ(valueOf("", "<A>", "</A>", 3), "");
    EXPECT_EQ(valueOf("value</A>", "<A>", "</A>", 3), "");
    EXPECT_EQ(valueOf("<A>value", "<A>", "</A>", 3), "");
}

TEST(TaggedText, ClosingTagCountsOnlyAfterTheOpeningOne) {
    EXPECT_EQ(valueOf("</A><A>value", "<A>", "</A>", 3), "");
    EXPECT_EQ(valueOf("</A><A>value</A>", "<A>", "</A>", 3), "value");
}

TEST(TaggedText, FirstOpeningAndFirstClosingTagCount) {
    EXPECT_EQ(valueOf("<A>one</A><A>two</A>", "<A>", "</A>", 3), "one");
    EXPECT_EQ(valueOf("<A></A>", "<A>", "</A>", 3), "");
}

TEST(TaggedText, TagLengthBeyondTheTextGivesNothing) {
    EXPECT_EQ(valueOf("<A>value</A>", "<A>", "</A>", 12), "");
    EXPECT_EQ(valueOf("<A>value</A>", "<A>", "</A>", 13), "");
    EXPECT_EQ(valueOf("<A>value</A>", "<A>", "</A>", std::numeric_limits<int>::max()), "");
}

TEST(TaggedText, NegativeTagLengthCountsAsZero) {
    EXPECT_EQ(valueOf("<A>value</A>", "<A>", "</A>", -1), "<A>value");
    EXPECT_EQ(valueOf("<A>value</A>", "<A>", "</A>", std::numeric_limits<int>::min()), "<A>value");
}

}  // namespace
