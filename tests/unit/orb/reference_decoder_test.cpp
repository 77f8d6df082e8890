#include <gtest/gtest.h>
#include <kelp/orb/references.h>

#include <algorithm>
#include <cctype>
#include <ostream>

#include "hand_made_reference.h"

namespace kelp::ior {
bool operator==(const Endpoint& a, const Endpoint& b) {
    return a.host == b.host && a.port == b.port && a.tls == b.tls;
}
void PrintTo(const Endpoint& endpoint, std::ostream* out) {
    *out << endpoint.host << " " << endpoint.port << (endpoint.tls ? " tls" : "");
}
}  // namespace kelp::ior

namespace {

using namespace kelp::test;
using kelp::orb::decodeReference;
using kelp::orb::Endpoint;
using kelp::orb::ReferenceContent;
using Endpoints = std::vector<Endpoint>;

ReferenceContent decoded(const std::string& text) {
    ReferenceContent content;
    EXPECT_TRUE(decodeReference(text, content)) << text;
    return content;
}

void expectRefused(const std::string& text) {
    ReferenceContent content;
    content.typeId = "left over";
    EXPECT_FALSE(decodeReference(text, content)) << text;
    EXPECT_EQ(content.typeId, "");
    EXPECT_TRUE(content.endpoints.empty());
    EXPECT_EQ(content.objectKey, "");
}

TEST(ReferenceDecoder, ReadsTypeAddressAndKeyOfAPlainReference) {
    const ReferenceContent content = decoded(ior({}));
    EXPECT_EQ(content.typeId, "IDL:T:1.0");
    EXPECT_EQ(content.endpoints, (Endpoints{{"192.0.2.7", 4800, false}}));
    EXPECT_EQ(content.objectKey, "key");
}

TEST(ReferenceDecoder, ReadsEveryMixOfByteOrders) {
    for (const auto outer : {CdrWriter::Order::Big, CdrWriter::Order::Little}) {
        for (const auto inner : {CdrWriter::Order::Big, CdrWriter::Order::Little}) {
            Iiop iiop;
            iiop.order = inner;
            iiop.components = {alternateAddress("b.example", 258)};
            const ReferenceContent content =
                decoded(hexReference(referenceBytes({{0, iiopProfile(iiop)}}, "IDL:T:1.0", outer)));
            EXPECT_EQ(content.endpoints,
                      (Endpoints{{"192.0.2.7", 4800, false}, {"b.example", 258, false}}));
        }
    }
}

TEST(ReferenceDecoder, ReadsVersionOneDotZeroWhichHasNoComponents) {
    Iiop iiop;
    iiop.minor = 0;
    EXPECT_EQ(decoded(ior(iiop)).endpoints, (Endpoints{{"192.0.2.7", 4800, false}}));
}

TEST(ReferenceDecoder, IgnoresWhatFollowsAVersionOneDotZeroProfile) {
    Iiop iiop;
    iiop.minor = 0;
    const std::string profile = iiopProfile(iiop) + "\xff\xff\xff\xff";
    EXPECT_EQ(decoded(hexReference(referenceBytes({{0, profile}}))).endpoints.size(), 1U);
}

TEST(ReferenceDecoder, ReadsVersionOneDotOneWithComponents) {
    Iiop iiop;
    iiop.minor = 1;
    iiop.components = {alternateAddress("b.example", 4801)};
    EXPECT_EQ(decoded(ior(iiop)).endpoints,
              (Endpoints{{"192.0.2.7", 4800, false}, {"b.example", 4801, false}}));
}

TEST(ReferenceDecoder, ListsAddressesOfSeveralProfilesInTheirOrder) {
    Iiop first;
    Iiop second;
    second.host = "second.example";
    second.port = 65535;
    second.key = "other";
    const ReferenceContent content =
        decoded(hexReference(referenceBytes({{0, iiopProfile(first)}, {0, iiopProfile(second)}})));
    EXPECT_EQ(content.endpoints,
              (Endpoints{{"192.0.2.7", 4800, false}, {"second.example", 65535, false}}));
    EXPECT_EQ(content.objectKey, "key");
}

TEST(ReferenceDecoder, ListsPlainAndTlsAddressOfOneProfile) {
    Iiop iiop;
    iiop.components = {sslComponent(4843)};
    EXPECT_EQ(decoded(ior(iiop)).endpoints,
              (Endpoints{{"192.0.2.7", 4800, false}, {"192.0.2.7", 4843, true}}));
}

TEST(ReferenceDecoder, ListsTheTlsAddressAloneWhenThePlainPortIsZero) {
    Iiop iiop;
    iiop.port = 0;
    iiop.components = {sslComponent(4843)};
    EXPECT_EQ(decoded(ior(iiop)).endpoints, (Endpoints{{"192.0.2.7", 4843, true}}));
}

TEST(ReferenceDecoder, SkipsComponentsAndProfilesItDoesNotKnow) {
    Iiop iiop;
    iiop.components = {
        {1, "code sets"}, {0x54414f00, ""}, alternateAddress("b.example", 1), {99, "?"}};
    const ReferenceContent content = decoded(hexReference(
        referenceBytes({{77, "not CDR at all"}, {0, iiopProfile(iiop)}, {0x49444c, ""}})));
    EXPECT_EQ(content.endpoints, (Endpoints{{"192.0.2.7", 4800, false}, {"b.example", 1, false}}));
}

TEST(ReferenceDecoder, SkipsAProfileOfAnotherMajorVersion) {
    Iiop unknown;
    unknown.major = 2;
    Iiop known;
    known.key = "known";
    const ReferenceContent content =
        decoded(hexReference(referenceBytes({{0, iiopProfile(unknown)}, {0, iiopProfile(known)}})));
    EXPECT_EQ(content.endpoints.size(), 1U);
    EXPECT_EQ(content.objectKey, "known");
}

TEST(ReferenceDecoder, ReadsComponentsThatStandInAProfileOfTheirOwn) {
    const std::string components =
        multipleComponents({alternateAddress("b.example", 7), sslComponent(4843)});
    const ReferenceContent content =
        decoded(hexReference(referenceBytes({{0, iiopProfile({})}, {1, components}})));
    EXPECT_EQ(content.endpoints,
              (Endpoints{
                  {"192.0.2.7", 4800, false}, {"b.example", 7, false}, {"192.0.2.7", 4843, true}}));
}

TEST(ReferenceDecoder, GivesATlsPortWithoutAnyHostNoAddress) {
    const std::string components = multipleComponents({sslComponent(4843)});
    EXPECT_TRUE(decoded(hexReference(referenceBytes({{1, components}}))).endpoints.empty());
}

TEST(ReferenceDecoder, KeepsAnIpv6HostUnchanged) {
    Iiop iiop;
    iiop.host = "2001:db8::1";
    EXPECT_EQ(decoded(ior(iiop)).endpoints, (Endpoints{{"2001:db8::1", 4800, false}}));
}

TEST(ReferenceDecoder, KeepsBinaryObjectKeysWhole) {
    Iiop iiop;
    iiop.key = std::string("\xff\x00\xfeV\x00", 5);
    EXPECT_EQ(decoded(ior(iiop)).objectKey, iiop.key);
}

TEST(ReferenceDecoder, FindsNoAddressInANilReference) {
    const ReferenceContent content = decoded(hexReference(referenceBytes({}, "")));
    EXPECT_EQ(content.typeId, "");
    EXPECT_TRUE(content.endpoints.empty());
}

TEST(ReferenceDecoder, TakesHexDigitsAndSchemeInEitherCase) {
    std::string text = ior({});
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    EXPECT_EQ(decoded(text).endpoints.size(), 1U);
    EXPECT_EQ(decoded("ior:" + text.substr(4)).endpoints.size(), 1U);
}

TEST(ReferenceDecoder, RefusesWhatIsNoStringifiedReference) {
    for (const char* text :
         {"", "IOR", "IOR:", "IOR:0", "IOR:zz", "IOR:01zz", "IOR:00", "IOR:01", "IOR:02000000",
          "corbaloc:iiop:1.2@127.0.0.1:4800/Key", "010000000100000000000000"})
        expectRefused(text);
}

TEST(ReferenceDecoder, RefusesAnOddNumberOfDigits) {
    std::string text = ior({});
    text.pop_back();
    expectRefused(text);
}

TEST(ReferenceDecoder, RefusesBlanksAroundAndInside) {
    const std::string text = ior({});
    expectRefused(" " + text);
    expectRefused(text + "\n");
    expectRefused(text.substr(0, 10) + " " + text.substr(10));
}

TEST(ReferenceDecoder, RefusesAByteOrderOtherThanTheTwo) {
    std::string bytes = referenceBytes({{0, iiopProfile({})}});
    bytes[0] = 2;
    expectRefused(hexReference(bytes));
    std::string profile = iiopProfile({});
    profile[0] = '\x7f';
    expectRefused(hexReference(referenceBytes({{0, profile}})));
}

TEST(ReferenceDecoder, RefusesAReferenceCutAnywhere) {
    Iiop iiop;
    iiop.components = {alternateAddress("b.example", 7), sslComponent(4843)};
    const std::string bytes = referenceBytes({{0, iiopProfile(iiop)}});
    for (std::size_t length = 0; length < bytes.size(); ++length)
        expectRefused(hexReference(bytes.substr(0, length)));
}

TEST(ReferenceDecoder, RefusesAProfileCutAnywhere) {
    Iiop iiop;
    iiop.components = {alternateAddress("b.example", 7), sslComponent(4843)};
    const std::string profile = iiopProfile(iiop);
    for (std::size_t length = 0; length < profile.size(); ++length)
        expectRefused(hexReference(referenceBytes({{0, profile.substr(0, length)}})));
}

TEST(ReferenceDecoder, RefusesLengthsBeyondTheEnd) {
    for (const std::uint32_t length : {0x7fffffffU, 0x80000000U, 0xfffffffcU, 0xffffffffU, 100U}) {
        // wrong lengths of the type id, the profile and the key
        expectRefused(hexReference(CdrWriter().unsignedLong(length).bytes() + "IDL:T:1.0"));
        expectRefused(hexReference(
            CdrWriter().string("").unsignedLong(1).unsignedLong(0).unsignedLong(length).bytes() +
            "x"));
        const std::string profile =
            CdrWriter().octet(1).octet(2).string("h").unsignedShort(1).unsignedLong(length).bytes();
        expectRefused(hexReference(referenceBytes({{0, profile}})));
    }
}

TEST(ReferenceDecoder, RefusesCountsWithoutContent) {
    expectRefused(hexReference(CdrWriter().string("").unsignedLong(0xffffffff).bytes()));
    const std::string profile = CdrWriter()
                                    .octet(1)
                                    .octet(2)
                                    .string("h")
                                    .unsignedShort(1)
                                    .octets("k")
                                    .unsignedLong(0xffffffff)
                                    .bytes();
    expectRefused(hexReference(referenceBytes({{0, profile}})));
    expectRefused(hexReference(referenceBytes({{1, CdrWriter().unsignedLong(3).bytes()}})));
}

TEST(ReferenceDecoder, RefusesBrokenComponents) {
    for (const TaggedBytes& broken :
         {TaggedBytes{3, ""}, TaggedBytes{3, "\x01"},
          TaggedBytes{3, CdrWriter().string("host").bytes()}, TaggedBytes{20, ""},
          TaggedBytes{20, CdrWriter().unsignedShort(1).unsignedShort(1).bytes()}}) {
        Iiop iiop;
        iiop.components = {broken};
        expectRefused(ior(iiop));
    }
}

TEST(ReferenceDecoder, RefusesInvalidHostNames) {
    for (const std::string& host :
         {std::string(), std::string("a b"), std::string("a\nb"), std::string("h\x1b[2J"),
          std::string("a\0b", 3), std::string("h\xc3\xa4"), std::string("\x7f"),
          std::string(256, 'h')}) {
        Iiop iiop;
        iiop.host = host;
        expectRefused(ior(iiop));
        iiop.host = "fine";
        iiop.components = {alternateAddress(host, 7)};
        expectRefused(ior(iiop));
    }
}

TEST(ReferenceDecoder, TakesTheLongestHostName) {
    Iiop iiop;
    iiop.host = std::string(255, 'h');
    EXPECT_EQ(decoded(ior(iiop)).endpoints.size(), 1U);
}

TEST(ReferenceDecoder, RefusesATypeIdWithControlCharacters) {
    expectRefused(hexReference(referenceBytes({{0, iiopProfile({})}}, "IDL:T\n:1.0")));
    expectRefused(hexReference(referenceBytes({{0, iiopProfile({})}}, std::string("IDL\0T", 5))));
}

TEST(ReferenceDecoder, RefusesAStringWithoutItsZeroByte) {
    expectRefused(hexReference(CdrWriter().octets("IDL:T:1.0").unsignedLong(0).bytes()));
    expectRefused(hexReference(CdrWriter().unsignedLong(0).unsignedLong(0).bytes()));
}

TEST(ReferenceDecoder, RefusesContentAboveItsLimitAndTakesContentAtIt) {
    const std::string rest = referenceBytes({{0, iiopProfile({})}});
    const std::string withEmpty = referenceBytes({{0, iiopProfile({})}, {9, ""}});
    const std::size_t most = 64 * 1024 - withEmpty.size();
    EXPECT_EQ(
        decoded(hexReference(referenceBytes({{0, iiopProfile({})}, {9, std::string(most, 'x')}})))
            .endpoints.size(),
        1U);
    expectRefused(
        hexReference(referenceBytes({{0, iiopProfile({})}, {9, std::string(most + 1, 'x')}})));
}

TEST(ReferenceDecoder, DoesNotDescendIntoReferencesInsideReferences) {
    std::string inner = referenceBytes({{0, iiopProfile({})}});
    for (int depth = 0; depth < 50; ++depth)
        inner = referenceBytes({{1, multipleComponents({{50, inner}})}});
    EXPECT_TRUE(decoded(hexReference(inner)).endpoints.empty());
}

}  // namespace
