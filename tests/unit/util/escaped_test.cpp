#include <gtest/gtest.h>
#include <kelp/util/trace_log.h>

#include <string>

namespace {

using kelp::util::escaped;

TEST(Escaped, PrintableTextStaysAsItIs) {
    EXPECT_EQ(escaped("NMS-<10.0.0.1:4000> %s \\ \"quoted\""),
              "NMS-<10.0.0.1:4000> %s \\ \"quoted\"");
    EXPECT_EQ(escaped(""), "");
}

TEST(Escaped, LineEndsAndControlCharactersAreSpelledOut) {
    EXPECT_EQ(escaped("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(escaped("\x1b[31mred\x7f"), "\\x1B[31mred\\x7F");
    EXPECT_EQ(escaped(std::string("a\0b", 3)), "a\\x00b");
}

TEST(Escaped, WellFormedUtf8IsKept) {
    EXPECT_EQ(escaped("Zürich €"), "Zürich €");
    EXPECT_EQ(escaped("\xf0\x9f\x98\x80"), "\xf0\x9f\x98\x80");
}

TEST(Escaped, BytesThatAreNoUtf8AreSpelledOut) {
    EXPECT_EQ(escaped("Z\xfcrich"), "Z\\xFCrich");
    EXPECT_EQ(escaped("\xc3"), "\\xC3");
    EXPECT_EQ(escaped("\xc0\x8a"), "\\xC0\\x8A") << "an overlong line end";
    EXPECT_EQ(escaped("\xed\xa0\x80"), "\\xED\\xA0\\x80") << "half a surrogate pair";
    EXPECT_EQ(escaped("\xf4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80") << "beyond the last code point";
}

TEST(Escaped, ControlCharactersBeyondAsciiAreSpelledOut) {
    EXPECT_EQ(escaped("\xc2\x9b[31m"), "\\xC2\\x9B[31m");
    EXPECT_EQ(escaped("\xc2\xa0"), "\xc2\xa0") << "a no-break space is no control character";
}

TEST(Escaped, CharactersThatChangeTheOrderOfTheShownTextAreSpelledOut) {
    EXPECT_EQ(escaped("a\u202Eb"), "a\\xE2\\x80\\xAEb");
    for (const std::string character :
         {"\u061C", "\u200E", "\u200F", "\u2028", "\u2029", "\u202A", "\u2066", "\u2069", "\uFEFF"})
        EXPECT_EQ(escaped(character).find(character), std::string::npos) << escaped(character);
    for (const std::string character :
         {"\u061B", "\u200D", "\u2010", "\u2027", "\u202F", "\u2065", "\u206A", "\uFEFE", "\u00A0",
          "\U0001F30A", "\u07FF", "\U0010FFFF"})
        EXPECT_EQ(escaped(character), character);
}

TEST(Escaped, EscapingTwiceChangesNothing) {
    const std::string once = escaped("a\nb\xff");
    EXPECT_EQ(escaped(once), once);
}

TEST(Escaped, LongTextIsCutAndMarked) {
    EXPECT_EQ(escaped("abcdefgh", 8), "abcdefgh");
    EXPECT_EQ(escaped("abcdefghi", 8), "abcde...");
    EXPECT_EQ(escaped(std::string(100000, 'x')).size(), 4096u);
}

TEST(Escaped, CutNeverGoesThroughACharacter) {
    EXPECT_EQ(escaped("abcd\ngh", 8), "abcd\\ngh");
    EXPECT_EQ(escaped("abcd\nghi", 8), "abcd...");
    EXPECT_EQ(escaped("abc€fghi", 8), "abc...");
}

TEST(Escaped, VerySmallLimitsAreKept) {
    EXPECT_EQ(escaped("abcdef", 3), "...");
    EXPECT_EQ(escaped("abcdef", 2), "ab");
    EXPECT_EQ(escaped("abcdef", 0), "");
}

}  // namespace
