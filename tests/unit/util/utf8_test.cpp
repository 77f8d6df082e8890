#include <gtest/gtest.h>
#include <kelp/util/utf8.h>

#include <string>

namespace kelp::util {
namespace {

TEST(Utf8, WellFormedTextIsUtf8) {
    for (const char* text :
         {"", "plain", "M\xC3\xBCnchen", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isUtf8(text)) << text;
}

TEST(Utf8, ForbiddenSequencesAreNotUtf8) {
    // an invalid first byte, truncated sequences, overlong forms, a surrogate, a code point beyond
    // the last one
    for (const char* text : {"\xFF", "\x80", "\xC3", "\xE2\x82", "\xC0\x80", "\xE0\x80\x80",
                             "\xED\xA0\x80", "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "a\xC3(b"})
        EXPECT_FALSE(isUtf8(text)) << text;
}

}  // namespace
}  // namespace kelp::util
