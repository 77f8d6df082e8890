#pragma once

#include <httplib.h>
#include <kelp/admin/registry.h>

#include <cstddef>
#include <functional>
#include <string>

#include "connection.h"

namespace kelp::host {

/// Reads one request from a connection, lets the registry answer it and writes the answer, both in
/// JSON. It takes from the HTTP library the reading and writing of messages alone: connections,
/// threads and times are the caller's. Several threads may use it at the same time.
class HttpAnswers : private httplib::Server {
  public:
    struct Rules {
        std::size_t bodyBytesMax = 0;
        /// Whether a request with this header "Authorization" (empty: none) is let in.
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
