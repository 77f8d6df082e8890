// What handshakes with this process's contexts accept from peers that offer anything.

#include "tls/peer_check.h"

#include <gmock/gmock.h>
#include <openssl/pem.h>

#include "handshake.h"

namespace {

using namespace kelp::test;
using kelp::orb::TlsMaterial;
using testing::HasSubstr;

class PeerCheck : public testing::Test {
  protected:
    /// True if a client with this certificate can connect to our server.
    bool letsIn(const std::string& keyFile) {
        const auto server = ourContext();
        const auto client = theirContext(certificates_, keyFile);
        Handshake handshake(server.get(), client.get());
        const bool isGood = handshake.succeeds();
        verified_ = SSL_get_verify_result(handshake.server());
        return isGood;
    }
    bool letsIn(SSL_CTX* client) const {
        const auto server = ourContext();
        return Handshake(server.get(), client).succeeds();
    }

    const ThrowAwayCertificates certificates_;
    const std::string own_ = certificates_.issue("ems");
    const std::string nms_ = certificates_.issue("nms");
    long verified_ = 0;
};

TEST_F(PeerCheck, NewestVersionsAreSpoken) {
    const TlsInUse tls({materialOf(certificates_, own_)});
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        const auto client = theirContext(certificates_, nms_);
        SSL_CTX_set_min_proto_version(client.get(), version);
        SSL_CTX_set_max_proto_version(client.get(), version);
        EXPECT_TRUE(letsIn(client.get())) << version;
    }
}

TEST_F(PeerCheck, OldVersionsAreRefused) {
    const TlsInUse tls({materialOf(certificates_, own_)});
    for (const int version : {TLS1_VERSION, TLS1_1_VERSION}) {
        const auto client = theirContext(certificates_, nms_);
        SSL_CTX_set_max_proto_version(client.get(), version);
        EXPECT_FALSE(letsIn(client.get())) << version;
        const auto willing = theirContext(certificates_, own_);
        EXPECT_TRUE(Handshake(willing.get(), client.get()).succeeds())
            << "another server speaks it";
    }
}

TEST_F(PeerCheck, SuiteWithoutForwardSecrecyIsRefused) {
    const std::string rsa = certificates_.issueRsa("rsa");
    const TlsInUse tls({materialOf(certificates_, rsa)});
    const auto client = theirContext(certificates_, nms_);
    SSL_CTX_set_max_proto_version(client.get(), TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(client.get(), "AES256-GCM-SHA384");
    EXPECT_FALSE(letsIn(client.get()));
    const auto willing = theirContext(certificates_, rsa);
    EXPECT_TRUE(Handshake(willing.get(), client.get()).succeeds()) << "another server speaks it";
}

TEST_F(PeerCheck, RenegotiationIsRefused) {
    const TlsInUse tls({materialOf(certificates_, own_)});
    const auto server = ourContext();
    const auto client = theirContext(certificates_, nms_);
    SSL_CTX_set_max_proto_version(client.get(), TLS1_2_VERSION);
    Handshake handshake(server.get(), client.get());
    ASSERT_TRUE(handshake.succeeds());
    ASSERT_EQ(SSL_renegotiate(handshake.client()), 1);
    SSL_do_handshake(handshake.client());
    char octet = 0;
    SSL_read(handshake.server(), &octet, 1);
    // the server answers with a warning instead of a handshake
    EXPECT_LE(SSL_do_handshake(handshake.client()), 0);
    EXPECT_EQ(SSL_num_renegotiations(handshake.server()), 0);
}

TEST_F(PeerCheck, ServerSaysWhomItTrustsNow) {
    const ThrowAwayCertificates others("Other CA");
    const auto server = ourContext();
    for (const ThrowAwayCertificates* const authority : {&certificates_, &others}) {
        const TlsInUse tls({materialOf(*authority, own_)});
        const auto client = theirContext(certificates_, "");
        Handshake handshake(server.get(), client.get());
        handshake.succeeds();
        const STACK_OF(X509_NAME)* const names = SSL_get0_peer_CA_list(handshake.client());
        ASSERT_EQ(sk_X509_NAME_num(names), 1);
        char text[100] = "";
        X509_NAME_oneline(sk_X509_NAME_value(names, 0), text, sizeof text);
        EXPECT_STREQ(text, authority == &others ? "/CN=Other CA" : "/CN=Test CA");
    }
}

TEST_F(PeerCheck, RevokedCertificateIsRefused) {
    certificates_.issue("stolen");
    certificates_.revoke("stolen");
    const TlsInUse tls({materialOf(certificates_, own_, certificates_.revocationList())});
    EXPECT_FALSE(letsIn(certificates_.folder() + "/stolen.pem"));
    EXPECT_EQ(verified_, X509_V_ERR_CERT_REVOKED);
    EXPECT_TRUE(letsIn(nms_));
}

TEST_F(PeerCheck, RevokedServerIsNotCalled) {
    certificates_.revoke("nms");
    const TlsInUse tls({materialOf(certificates_, own_, certificates_.revocationList())});
    const auto server = theirContext(certificates_, nms_);
    const auto client = ourContext();
    EXPECT_FALSE(Handshake(server.get(), client.get()).succeeds());
    EXPECT_THAT(
        kelp::orb::takeRefusedServer(),
        HasSubstr(" shows a certificate of CN = nms, which is refused: certificate revoked"));
    EXPECT_EQ(kelp::orb::takeRefusedServer(), "");
}

TEST_F(PeerCheck, ExpiredRevocationListStillHoldsWhileTheProcessRuns) {
    certificates_.issue("stolen");
    certificates_.revoke("stolen");
    const std::shared_ptr<const TlsMaterial> good =
        materialOf(certificates_, own_, certificates_.revocationList());
    // stands for the good list after its end
    const std::string ended = certificates_.revocationListFor("20200101000000Z", "20210101000000Z");
    const kelp::orb::OwnedBio in(BIO_new_file(ended.c_str(), "r"));
    auto material = std::make_shared<TlsMaterial>();
    std::vector<kelp::orb::TlsFileProblem> problems;
    material->authorities.reset(X509_chain_up_ref(good->authorities.get()));
    material->authorityNames.reset(SSL_dup_CA_list(good->authorityNames.get()));
    X509_up_ref(good->certificate.get());
    material->certificate.reset(good->certificate.get());
    EVP_PKEY_up_ref(good->key.get());
    material->key.reset(good->key.get());
    material->revocationLists.reset(sk_X509_CRL_new_null());
    sk_X509_CRL_push(material->revocationLists.get(),
                     PEM_read_bio_X509_CRL(in.get(), nullptr, nullptr, nullptr));
    const TlsInUse tls({material});
    EXPECT_TRUE(letsIn(nms_));
    EXPECT_FALSE(letsIn(certificates_.folder() + "/stolen.pem"));
}

TEST_F(PeerCheck, SubjectIsKeptWithTheCertificate) {
    const TlsInUse tls({materialOf(certificates_, own_)});
    const auto server = ourContext();
    const auto client = theirContext(
        certificates_, certificates_.issueToSubject("bound", "/DC=net/O=Operator, Inc./CN=nms ü"));
    Handshake handshake(server.get(), client.get());
    ASSERT_TRUE(handshake.succeeds());
    const X509* const certificate = SSL_get0_peer_certificate(handshake.server());
    ASSERT_NE(certificate, nullptr);
    const std::string* const subject = kelp::orb::keptSubject(certificate);
    ASSERT_NE(subject, nullptr);
    EXPECT_EQ(*subject, "CN=nms ü,O=Operator\\, Inc.,DC=net");
}

TEST_F(PeerCheck, RefusedCertificateHasNoSubjectKept) {
    const ThrowAwayCertificates others;
    const TlsInUse tls({materialOf(certificates_, own_)});
    const auto server = ourContext();
    const auto client = theirContext(certificates_, others.issue("stranger"));
    Handshake handshake(server.get(), client.get());
    EXPECT_FALSE(handshake.succeeds());
    const X509* const certificate = SSL_get0_peer_certificate(handshake.server());
    EXPECT_TRUE(certificate == nullptr || kelp::orb::keptSubject(certificate) == nullptr);
}

}  // namespace
