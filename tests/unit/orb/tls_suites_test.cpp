#include <gmock/gmock.h>
#include <kelp/orb/tls_suites.h>

namespace {

using kelp::orb::problemOfTlsCiphers;
using kelp::orb::problemOfTlsCipherSuites;
using testing::EndsWith;
using testing::StartsWith;

TEST(TlsCiphers, DefaultsCanBeUsed) {
    EXPECT_EQ(problemOfTlsCiphers(kelp::orb::kTlsCiphers), "");
    EXPECT_EQ(problemOfTlsCipherSuites(kelp::orb::kTlsCipherSuites), "");
}

TEST(TlsCiphers, OneSuiteIsEnough) {
    EXPECT_EQ(problemOfTlsCiphers("ECDHE-RSA-AES256-GCM-SHA384"), "");
    EXPECT_EQ(problemOfTlsCiphers("DHE-RSA-AES128-GCM-SHA256"), "");
    EXPECT_EQ(problemOfTlsCipherSuites("TLS_AES_256_GCM_SHA384"), "");
}

TEST(TlsCiphers, ListWithoutASuiteIsRefused) {
    for (const char* const list : {"", ":", "!ALL", "ECDHE-RSA-AES256-GCM-SHA384:!ECDHE"})
        EXPECT_EQ(problemOfTlsCiphers(list), "names no cipher suite of TLS 1.2") << list;
    for (const char* const list : {"", ":"})
        EXPECT_EQ(problemOfTlsCipherSuites(list), "names no cipher suite of TLS 1.3") << list;
}

TEST(TlsCiphers, UnknownSuiteIsNamed) {
    EXPECT_EQ(problemOfTlsCiphers("ECDHE+AESGCM:ECDHE-RSA-AES512-GCM"),
              "\"ECDHE-RSA-AES512-GCM\" names no cipher suite of TLS 1.2");
    EXPECT_EQ(problemOfTlsCiphers("TLS_AES_256_GCM_SHA384"),
              "\"TLS_AES_256_GCM_SHA384\" names no cipher suite of TLS 1.2");
    EXPECT_EQ(problemOfTlsCipherSuites("TLS_AES_256_GCM_SHA384:TLS_NULL"),
              "\"TLS_NULL\" names no cipher suite of TLS 1.3");
    EXPECT_EQ(problemOfTlsCipherSuites("ECDHE-RSA-AES256-GCM-SHA384"),
              "\"ECDHE-RSA-AES256-GCM-SHA384\" names no cipher suite of TLS 1.3");
    EXPECT_THAT(problemOfTlsCiphers(std::string(1000, 'X') + "\n"),
                EndsWith(" names no cipher suite of TLS 1.2"));
}

TEST(TlsCiphers, ExclusionsMayNameWhatTheLibraryDoesNotHave) {
    EXPECT_EQ(problemOfTlsCiphers("ECDHE+AESGCM:!RC4:!NONSENSE"), "");
}

TEST(TlsCiphers, SuiteWithoutForwardSecrecyIsRefused) {
    EXPECT_EQ(problemOfTlsCiphers("ECDHE+AESGCM:AES256-GCM-SHA384"),
              "has the suite AES256-GCM-SHA384, which has no forward secrecy");
    EXPECT_THAT(problemOfTlsCiphers("DEFAULT"), StartsWith("has the suite "));
    EXPECT_THAT(problemOfTlsCiphers("PSK-AES256-GCM-SHA384"),
                EndsWith("which has no forward secrecy"));
}

TEST(TlsCiphers, SuiteWithoutAuthenticatedEncryptionIsRefused) {
    EXPECT_EQ(problemOfTlsCiphers("ECDHE-RSA-AES256-SHA384"),
              "has the suite ECDHE-RSA-AES256-SHA384, which has no authenticated encryption");
}

TEST(TlsCiphers, SuiteWithoutAnUsualCertificateIsRefused) {
    EXPECT_EQ(problemOfTlsCiphers("ADH-AES256-GCM-SHA384"),
              "has the suite ADH-AES256-GCM-SHA384, which is not for an RSA or ECDSA certificate");
    EXPECT_EQ(
        problemOfTlsCiphers("DHE-DSS-AES256-GCM-SHA384"),
        "has the suite DHE-DSS-AES256-GCM-SHA384, which is not for an RSA or ECDSA certificate");
}

TEST(TlsCiphers, SecurityLevelMustNotBeLowered) {
    EXPECT_EQ(problemOfTlsCiphers("ECDHE+AESGCM:@SECLEVEL=1"),
              "must not lower the security level to 1");
    EXPECT_EQ(problemOfTlsCiphers("ECDHE+AESGCM:@SECLEVEL=3"), "");
}

}  // namespace
