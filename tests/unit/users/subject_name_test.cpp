// The normal form in which the subjects of certificates are compared.

#include <gmock/gmock.h>
#include <kelp/users/subject_name.h>

using kelp::users::normalisedSubject;
using testing::EndsWith;
using testing::StartsWith;

namespace {

std::string normalised(const std::string& text) {
    std::string whyNot;
    return normalisedSubject(text, whyNot).value_or("refused");
}

TEST(SubjectName, AsTheLibraryWritesItStaysAsItIs) {
    for (const char* const text :
         {"CN=nms1", "CN=nms1,O=Operator", "CN=nms \xc3\xbc,O=Operator\\, Inc.,DC=net",
          "CN=", "1.2.840.1=#0C0161", "CN=a\\+b\\\"c\\\\d\\<e\\>f\\;g", "CN=\\#1", "CN=\\ a b\\ ",
          "CN=line\\0Afeed", "CN=a=b", "CN=nul\\00"})
        EXPECT_EQ(normalised(text), text);
}

TEST(SubjectName, SpacesAroundSeparatorsAndTheTypesCaseDoNotCount) {
    EXPECT_EQ(normalised(" cn = nms1 , o=Operator "), "CN=nms1,O=Operator");
    EXPECT_EQ(normalised("oid.2.5.4.3=nms1"), "2.5.4.3=nms1");
    EXPECT_EQ(normalised("emailAddress=a@example.net"), "EMAILADDRESS=a@example.net");
    EXPECT_EQ(normalised("CN=#0c01"), "CN=#0C01");
}

TEST(SubjectName, ValuesKeepTheirCaseAndTheNameItsOrder) {
    EXPECT_NE(normalised("CN=NMS1"), normalised("CN=nms1"));
    EXPECT_NE(normalised("O=Operator,CN=nms1"), normalised("CN=nms1,O=Operator"));
}

TEST(SubjectName, EscapesAreUnified) {
    EXPECT_EQ(normalised("CN=a\\2Cb"), "CN=a\\,b");
    EXPECT_EQ(normalised("CN=\\c3\\BC"), "CN=\xc3\xbc");
    EXPECT_EQ(normalised("CN=a\\=b"), "CN=a=b");
    EXPECT_EQ(normalised("CN=line\nfeed"), "CN=line\\0Afeed");
    EXPECT_EQ(normalised("CN=a\\ "), "CN=a\\ ");
    EXPECT_EQ(normalised("CN=\\20a"), "CN=\\ a");
}

TEST(SubjectName, PartsOfAMultiValuedNameAreSorted) {
    EXPECT_EQ(normalised("UID=7+CN=nms1,O=Operator"), "CN=nms1+UID=7,O=Operator");
}

TEST(SubjectName, TextThatIsNoNameIsRefused) {
    for (const char* const text :
         {"",         " ",        "nms1",      "=nms1",  "CN",
          "CN=a,",    ",CN=a",    "CN=a,,O=b", "CN=a+",  "/O=Operator/CN=nms1",
          "CN=a;O=b", "CN=\"a\"", "CN=a<b",    "CN=a\\", "CN=a\\x",
          "CN=#",     "CN=#0",    "CN=#0C zz", "C N=a",  "CN=a\\0"})
        EXPECT_EQ(normalised(text), "refused") << text;
}

TEST(SubjectName, RefusalShowsTheText) {
    std::string whyNot;
    EXPECT_FALSE(normalisedSubject("nms1\n", whyNot));
    EXPECT_THAT(whyNot, StartsWith("\"nms1\\n\" is not a subject: write it as CN=nms1,O=Operator"));
    EXPECT_TRUE(normalisedSubject("CN=" + std::string(2045, 'a'), whyNot));
    EXPECT_FALSE(normalisedSubject("CN=" + std::string(2046, 'a'), whyNot));
    EXPECT_THAT(whyNot, EndsWith(" has more than 2048 bytes"));
}

}  // namespace
