#include <gtest/gtest.h>
#include <kelp/traps/oid.h>

namespace {

using kelp::traps::Oid;

TEST(Oid, IsReadWithAndWithoutADotBeforeIt) {
    ASSERT_TRUE(Oid::parse("1.3.6.1"));
    EXPECT_EQ(Oid::parse("1.3.6.1")->text(), "1.3.6.1");
    EXPECT_EQ(Oid::parse(".1.3.6.1"), Oid::parse("1.3.6.1"));
    EXPECT_EQ(Oid::parse("1.3.4294967295")->text(), "1.3.4294967295");
}

TEST(Oid, IsNotReadFromOtherTexts) {
    for (const char* const text : {"", ".", "1", "1.", "1..3", "3.1", "1.3.x", "1.3.-1", "1.3 ",
                                   "1.3.4294967296", "ifIndex.1", " 1.3", "1.3."})
        EXPECT_FALSE(Oid::parse(text)) << text;
}

TEST(Oid, HasAtMost128Components) {
    std::string text = "1";
    for (int count = 1; count < 128; ++count)
        text += ".7";
    EXPECT_TRUE(Oid::parse(text));
    EXPECT_FALSE(Oid::parse(text + ".7"));
}

TEST(Oid, KnowsWhatIsBelowIt) {
    const Oid column = *Oid::parse("1.3.6.1.2.1.2.2.1.1");
    const Oid cell = *Oid::parse("1.3.6.1.2.1.2.2.1.1.4.7");
    EXPECT_TRUE(cell.isWithin(column));
    EXPECT_TRUE(column.isWithin(column));
    EXPECT_FALSE(column.isWithin(cell));
    EXPECT_FALSE(Oid::parse("1.3.6.1.2.1.2.2.1.10")->isWithin(column));
    EXPECT_EQ(cell.indexAfter(column), "4.7");
    EXPECT_EQ(column.indexAfter(column), "");
}

}  // namespace
