#pragma once

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/tcp_peers.h"

namespace kelp::test {

/// A TLS client on which a test sends single octets. It does not verify the server.
class RawTls {
  public:
    /// `keyFile` contains the client's key and certificate. Empty: no certificate.
    RawTls(std::uint16_t port, const std::string& keyFile, const char* source = "127.0.0.1")
        : context_(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free),
          socket_(connectTo(port, source)) {
        if (!keyFile.empty() &&
            (SSL_CTX_use_certificate_chain_file(context_.get(), keyFile.c_str()) != 1 ||
             SSL_CTX_use_PrivateKey_file(context_.get(), keyFile.c_str(), SSL_FILETYPE_PEM) != 1))
            throw std::runtime_error("no certificate in " + keyFile);
        const timeval limit{20, 0};
        ::setsockopt(socket_.fd(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        connection_.reset(SSL_new(context_.get()));
        SSL_set_fd(connection_.get(), socket_.fd());
    }

    bool handshakes() {
        const bool isGood = SSL_connect(connection_.get()) == 1;
        ERR_clear_error();
        return isGood;
    }
    /// Send the octets, in one TLS record for each 16 KiB.
    bool send(const std::string& octets) {
        std::size_t count = 0;
        return SSL_write_ex(connection_.get(), octets.data(), octets.size(), &count) == 1;
    }
    /// Return `count` octets, or fewer if the peer closes or sends nothing for 20 s.
    std::string receive(std::size_t count) {
        std::string octets(count, '\0');
        std::size_t all = 0;
        for (std::size_t got = 0; all < count; all += got) {
            if (SSL_read_ex(connection_.get(), octets.data() + all, count - all, &got) != 1)
                break;
        }
        ERR_clear_error();
        octets.resize(all);
        return octets;
    }
    const Socket& socket() const { return socket_; }
    SSL* connection() const { return connection_.get(); }

  private:
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context_;
    const Socket socket_;
    std::unique_ptr<SSL, decltype(&SSL_free)> connection_{nullptr, &SSL_free};
};

}  // namespace kelp::test
