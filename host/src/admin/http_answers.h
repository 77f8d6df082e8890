#pragma once

#include <httplib.h>
#include <kelp/admin/registry.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "browser_rules.h"
#include "connection.h"

namespace kelp::host {

/// Whether a caller may have an answer.
enum class Admission : std::uint8_t {
    Admitted,
    Refused,   ///< without the right token or password
    TooOften,  ///< has sent too many wrong passwords
};

/// Whether the request asks for a file of the status page.
bool isPageFile(const httplib::Request& request);

/// Reads one request from a connection, lets the registry answer it and writes the answer. Both are
/// JSON, except for answers that have another type and for the files of the status page, which need
/// no authorization. It uses the HTTP library only to read and write messages. The caller manages
/// connections, threads and time limits. Several threads may use it concurrently.
class HttpAnswers : private httplib::Server {
  public:
    struct Rules {
        std::size_t bodyBytesMax = 0;
        AdminTransport transport = AdminTransport::UnixSocket;
        /// Whether to answer a request, of which only the head has been read. `remote_addr` is the
        /// caller's address, empty for a Unix socket.
        std::function<Admission(const httplib::Request& request)> admits{};
        /// Answer only GET and HEAD.
        bool readsOnly = false;
    };

    HttpAnswers(admin::Registry& registry, Rules rules);

    void serve(Connection& connection);

  private:
    HandlerResponse admit(const httplib::Request& request, httplib::Response& response) const;
    void answer(const httplib::Request& request, httplib::Response& response) const;

    admin::Registry& registry_;
    const Rules rules_;
};

}  // namespace kelp::host
