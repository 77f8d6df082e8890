#pragma once

#include <httplib.h>
#include <kelp/admin/registry.h>

#include <cstddef>
#include <functional>
#include <string>

#include "browser_rules.h"
#include "connection.h"

namespace kelp::host {

/// Reads one request from a connection, lets the registry answer it and writes the answer. Both are
/// JSON, except for answers that have another type and for the files of the status page, which need
/// no authorization. It uses the HTTP library only to read and write messages. The caller manages
/// connections, threads and time limits. Several threads may use it concurrently.
class HttpAnswers : private httplib::Server {
  public:
    struct Rules {
        std::size_t bodyBytesMax = 0;
        AdminTransport transport = AdminTransport::UnixSocket;
        /// Whether to accept a request with this header "Authorization". It is empty when the
        /// header is missing.
        std::function<bool(const std::string& authorization)> letsIn;
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
