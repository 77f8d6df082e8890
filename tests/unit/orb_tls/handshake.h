#pragma once

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <string>

#include "support/throw_away_certificates.h"
#include "tls/context.h"
#include "tls/material.h"

namespace kelp::test {

/// Makes these certificates the process's certificates for the length of a scope.
class TlsInUse {
  public:
    explicit TlsInUse(orb::TlsUse use) {
        orb::CurrentTls::instance().set(std::make_shared<const orb::TlsUse>(std::move(use)));
    }
    ~TlsInUse() { orb::CurrentTls::instance().set(nullptr); }
    TlsInUse(const TlsInUse&) = delete;
    TlsInUse& operator=(const TlsInUse&) = delete;
};

inline std::shared_ptr<const orb::TlsMaterial> materialOf(const ThrowAwayCertificates& authority,
                                                          const std::string& keyFile,
                                                          const std::string& crlFile = "") {
    std::vector<orb::TlsFileProblem> problems;
    auto material = orb::readTls({authority.authority(), keyFile, "", crlFile}, problems);
    for (const orb::TlsFileProblem& problem : problems)
        ADD_FAILURE() << problem.what;
    return material;
}

/// Return a context as this process creates it.
inline orb::OwnedContext ourContext(const std::string& ciphers = "ECDHE+AESGCM") {
    orb::OwnedContext context(SSL_CTX_new(TLS_method()));
    EXPECT_TRUE(orb::setUpContext(context.get(), {ciphers, "TLS_AES_256_GCM_SHA384"}));
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    return context;
}

/// Return a context of an arbitrary peer that trusts `authority` and presents `keyFile`. Its
/// settings are as weak as the library allows.
inline orb::OwnedContext theirContext(const ThrowAwayCertificates& authority,
                                      const std::string& keyFile) {
    orb::OwnedContext context(SSL_CTX_new(TLS_method()));
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), 0);
    EXPECT_EQ(SSL_CTX_set_cipher_list(context.get(), "ALL"), 1);
    EXPECT_EQ(SSL_CTX_load_verify_file(context.get(), authority.authority().c_str()), 1);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    if (!keyFile.empty()) {
        EXPECT_EQ(SSL_CTX_use_certificate_chain_file(context.get(), keyFile.c_str()), 1);
        EXPECT_EQ(SSL_CTX_use_PrivateKey_file(context.get(), keyFile.c_str(), SSL_FILETYPE_PEM), 1);
    }
    return context;
}

/// A server and a client with these contexts, connected in memory.
class Handshake {
  public:
    Handshake(SSL_CTX* server, SSL_CTX* client, const std::string& called = "")
        : server_(SSL_new(server)), client_(SSL_new(client)) {
        BIO* serverEnd = nullptr;
        BIO* clientEnd = nullptr;
        BIO_new_bio_pair(&serverEnd, 0, &clientEnd, 0);
        SSL_set_bio(server_.get(), serverEnd, serverEnd);
        SSL_set_bio(client_.get(), clientEnd, clientEnd);
        SSL_set_accept_state(server_.get());
        SSL_set_connect_state(client_.get());
        if (!called.empty())
            SSL_set_tlsext_host_name(client_.get(), called.c_str());
    }

    /// True if both sides complete the handshake.
    bool succeeds() {
        int server = 0;
        int client = 0;
        // each round advances at least one side by a flight
        for (int round = 0; round < 10; ++round) {
            client = SSL_do_handshake(client_.get());
            server = SSL_do_handshake(server_.get());
        }
        ERR_clear_error();
        return server == 1 && client == 1;
    }
    SSL* server() const { return server_.get(); }
    SSL* client() const { return client_.get(); }

  private:
    const orb::OwnedConnection server_;
    const orb::OwnedConnection client_;
};

}  // namespace kelp::test
