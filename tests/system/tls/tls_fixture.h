#pragma once

#include <string>
#include <vector>

#include "component/orb/tls_client.h"
#include "support/throw_away_certificates.h"
#include "system/kelpnms/kelpnms_fixture.h"

namespace kelp::test {

/// Exit codes of kelpnms.
inline constexpr int kDone = 0;
inline constexpr int kWrongUse = 2;
inline constexpr int kUnreachable = 3;
inline constexpr int kConfigurationError = 3;  ///< exit code of kelpd

/// A host with certificates, and kelpnms over TLS.
class TlsTest : public KelpnmsTest {
  protected:
    static constexpr int kOff = 0;
    static constexpr int kBoth = 1;
    static constexpr int kTlsOnly = 2;

    void configureHost(int mode) {
        host_.set("tls", "mode", mode)
            .set("tls", "listen", quoted(tlsPort_.hostAndPort()))
            .set("tls", "ca", quoted(certificates_.authority()))
            .set("tls", "certificate", quoted(certificates_.issue("ems")))
            .set("naming", "ssl_port", namingTlsPort_.port())
            .set("notification", "heartbeat_s", 1);
        host_.addUser("demo");
    }
    void startHost(int mode) {
        configureHost(mode);
        host_.start();
        EXPECT_TRUE(eventually([this] { return nms({"find"}) == kDone; })) << output();
    }

    /// Run kelpnms over TLS, with the certificates of an authority. Return its exit code.
    int nms(const std::vector<std::string>& arguments,
            const ThrowAwayCertificates* authority = nullptr) {
        const ThrowAwayCertificates& its = authority != nullptr ? *authority : certificates_;
        return nms(arguments, its.authority(), its.issue("nms"));
    }
    int nms(const std::vector<std::string>& arguments, const std::string& authority,
            const std::string& key, const std::string& keyPassword = "") {
        return runToEnd(overTls(arguments, authority, key, keyPassword));
    }
    /// Describe a run of kelpnms over TLS. From here on output() returns its output.
    Launch overTls(const std::vector<std::string>& arguments, const std::string& authority,
                   const std::string& key, const std::string& keyPassword = "") {
        std::vector<std::string> all = {
            "--naming",  naming_, "--tls-ca",        authority,
            "--tls-key", key,     "--timeout",       "10",
            "--user",    "demo",  "--password-file", host_.passwordFile().string()};
        if (!keyPassword.empty()) {
            writeFile(scratch_ / "key-password", keyPassword + "\n");
            all.insert(all.end(),
                       {"--tls-key-password-file", (scratch_ / "key-password").string()});
        }
        all.insert(all.end(), arguments.begin(), arguments.end());
        log_ = LogFile(scratch_ / ("output" + std::to_string(++runs_)));
        return {KELPNMS, all, {}, log_.file(), false};
    }

    /// Return a command-line client for each TLS port of the host; without a certificate if
    /// `certificate` is empty.
    std::vector<TlsClient> clientsWith(const std::string& certificate) const {
        std::vector<TlsClient> clients;
        for (const PortLease* port : {&tlsPort_, &namingTlsPort_})
            clients.emplace_back(port->hostAndPort(), certificates_.authority(), certificate);
        return clients;
    }
    void expectHandshakes(const std::string& certificate, bool wanted) const {
        for (const TlsClient& client : clientsWith(certificate))
            EXPECT_EQ(client.handshakes(), wanted) << certificate;
    }

    const ThrowAwayCertificates certificates_;
    const PortLease tlsPort_;
    const PortLease namingTlsPort_;
    std::string naming_ = namingTlsPort_.hostAndPort();
};

}  // namespace kelp::test
