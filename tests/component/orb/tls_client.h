#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kelp::test {

/// A command-line TLS client that knows nothing of CORBA. It has an authority that it trusts, and
/// its key and certificate, or neither of the two.
class TlsClient {
  public:
    TlsClient(std::string server, const std::string& authority, const std::string& certificate)
        : command_("timeout 20 openssl s_client -connect " + server + " -CAfile '" + authority +
                   "' -verify_return_error" +
                   (certificate.empty()
                        ? ""
                        : " -cert '" + certificate + "' -key '" + certificate + "'")) {}

    /// True if a handshake succeeds.
    bool handshakes() const {
        // in TLS 1.2 the client learns of a refused certificate during the handshake
        return std::system((command_ + " -tls1_2 </dev/null >/dev/null 2>&1").c_str()) == 0;
    }
    /// True if a handshake succeeds with these further options of `openssl s_client`.
    bool handshakesWith(const std::string& options) const {
        return std::system((command_ + " " + options + " </dev/null >/dev/null 2>&1").c_str()) == 0;
    }
    /// Return the serial number of the server's certificate as "serial=1F"; empty if the server
    /// presents none.
    std::string serverSerialNumber() const {
        const std::string text =
            firstLine(command_ + " </dev/null 2>/dev/null | openssl x509 -noout -serial 2>&1");
        return text.rfind("serial=", 0) == 0 ? text : "";
    }
    /// Make six connections in a row, each of which tries to resume the previous session. Return
    /// how many made a full handshake.
    std::string wholeHandshakesOfSix() const {
        return firstLine(command_ + " -tls1_2 -reconnect </dev/null 2>&1 | grep -c '^New,'");
    }

  private:
    static std::string firstLine(const std::string& command) {
        FILE* const output = ::popen(command.c_str(), "r");
        char line[200] = "";
        const bool isRead = output != nullptr && std::fgets(line, sizeof line, output) != nullptr;
        if (output != nullptr)
            ::pclose(output);
        const std::string text = isRead ? line : "";
        return text.substr(0, text.find('\n'));
    }

    const std::string command_;
};

}  // namespace kelp::test
