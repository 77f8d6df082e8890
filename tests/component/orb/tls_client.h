#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kelp::test {

/// A TLS client of the command line, which knows nothing of CORBA: whose certificate it trusts, and
/// its own key and certificate or none.
class TlsClient {
  public:
    TlsClient(std::string server, const std::string& authority, const std::string& certificate)
        : command_("timeout 20 openssl s_client -connect " + server + " -CAfile '" + authority +
                   "' -verify_return_error" +
                   (certificate.empty()
                        ? ""
                        : " -cert '" + certificate + "' -key '" + certificate + "'")) {}

    /// Whether a handshake goes through.
    bool handshakes() const {
        // TLS 1.2 tells the client about a refused certificate within the handshake
        return std::system((command_ + " -tls1_2 </dev/null >/dev/null 2>&1").c_str()) == 0;
    }
    /// The same with other options of `openssl s_client`.
    bool handshakesWith(const std::string& options) const {
        return std::system((command_ + " " + options + " </dev/null >/dev/null 2>&1").c_str()) == 0;
    }
    /// The serial number of the certificate that the server shows, as "serial=1F"; empty when it
    /// shows none.
    std::string serverSerialNumber() const {
        const std::string text =
            firstLine(command_ + " </dev/null 2>/dev/null | openssl x509 -noout -serial 2>&1");
        return text.rfind("serial=", 0) == 0 ? text : "";
    }
    /// Of six connections one after the other, each of which would resume the one before it, how
    /// many made a whole handshake.
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
