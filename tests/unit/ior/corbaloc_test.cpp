#include <gtest/gtest.h>
#include <kelp/ior/corbaloc.h>

#include <string>

namespace {

using kelp::ior::CorbalocContent;
using kelp::ior::hostAndPort;
using kelp::ior::readCorbaloc;

CorbalocContent contentOf(const std::string& text) {
    CorbalocContent content;
    EXPECT_EQ(readCorbaloc(text, content), "") << text;
    return content;
}

/// The text is refused with this reason, and nothing of it stays in the content.
void expectProblem(const std::string& text, const std::string& reason) {
    CorbalocContent content;
    content.objectKey = "left over";
    EXPECT_NE(readCorbaloc(text, content).find(reason), std::string::npos)
        << text << ": " << readCorbaloc(text, content);
    EXPECT_TRUE(content.endpoints.empty());
    EXPECT_EQ(content.objectKey, "");
    EXPECT_EQ(content.name, "");
}

TEST(Corbaloc, ReadsAddressesVersionAndKey) {
    const CorbalocContent content =
        contentOf("corbaloc:iiop:1.2@ems.example.net:4800,ssliop:[2001:db8::7]:4801/a/b%20c");
    ASSERT_EQ(content.endpoints.size(), 2u);
    EXPECT_EQ(hostAndPort(content.endpoints[0]), "ems.example.net:4800");
    EXPECT_FALSE(content.endpoints[0].tls);
    EXPECT_EQ(hostAndPort(content.endpoints[1]), "[2001:db8::7]:4801");
    EXPECT_TRUE(content.endpoints[1].tls);
    EXPECT_EQ(content.iiopVersion, "1.2");
    EXPECT_EQ(content.objectKey, "a/b%20c");
    EXPECT_FALSE(content.hasName);
}

TEST(Corbaloc, TakesTheDefaultsOfTheStandard) {
    const CorbalocContent content = contentOf("corbaname::192.0.2.7#TMF_MTNM.Class/x.y");
    ASSERT_EQ(content.endpoints.size(), 1u);
    EXPECT_EQ(hostAndPort(content.endpoints[0]), "192.0.2.7:2809");
    EXPECT_EQ(content.iiopVersion, "1.0");
    EXPECT_EQ(content.objectKey, "NameService");
    EXPECT_EQ(content.name, "TMF_MTNM.Class/x.y");
    EXPECT_TRUE(content.hasName);
}

TEST(Corbaloc, ReadsRirWithoutAnAddress) {
    const CorbalocContent content = contentOf("CORBALOC:rir:/NameService");
    EXPECT_TRUE(content.endpoints.empty());
    EXPECT_EQ(content.objectKey, "NameService");
}

TEST(Corbaloc, SaysWhatIsWrong) {
    expectProblem("", "neither");
    expectProblem("http://x", "neither");
    expectProblem("corbaloc:", "must begin with");
    expectProblem("corbaloc:ems:1/k", "must begin with");
    expectProblem("corbaloc::a,/k", "must begin with");
    expectProblem("corbaloc::/k", "no valid host");
    expectProblem("corbaloc::" + std::string(256, 'h') + "/k", "no valid host");
    expectProblem("corbaloc::[]:1/k", "no valid host");
    expectProblem("corbaloc::[::1:1/k", "brackets");
    expectProblem("corbaloc::[::1]1/k", "brackets");
    expectProblem("corbaloc::2.0@a/k", "IIOP version");
    expectProblem("corbaloc::1.256@a/k", "IIOP version");
    expectProblem("corbaloc::@a/k", "IIOP version");
    for (const char* const port : {"", "0", "65536", "-1", "+1", "1x", "99999999999999999999"})
        expectProblem("corbaloc::a:" + std::string(port) + "/k", "a port must be");
    expectProblem("corbaloc::a b/k", "not printable");
    expectProblem(std::string("corbaloc::a\0b/k", 15), "not printable");
    expectProblem("corbaloc::a\x1b[2J/k", "not printable");
}

TEST(Corbaloc, LimitsLengthAndAddresses) {
    const std::string head = "corbaloc::a/";
    EXPECT_EQ(contentOf(head + std::string(8192 - head.size(), 'k')).endpoints.size(), 1u);
    expectProblem(head + std::string(8193 - head.size(), 'k'), "longer than 8192");
    std::string addresses = ":a";
    for (int i = 1; i < 64; ++i)
        addresses += ",:a";
    EXPECT_EQ(contentOf("corbaloc:" + addresses + "/k").endpoints.size(), 64u);
    expectProblem("corbaloc:" + addresses + ",:a/k", "more than 64 addresses");
}

}  // namespace
