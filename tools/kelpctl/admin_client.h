#pragma once

#include <httplib.h>
#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>

#include <string>

namespace kelp::ctl {

/// Sends requests to the running host through its operator interface. A request takes at most 30 s.
class AdminClient {
  public:
    /// Read the token, if the address has one. Throws std::runtime_error with one line.
    explicit AdminClient(admin::Address address);

    /// Send a request and return the host's answer. Throws std::runtime_error with one line: the
    /// host's refusal, or why the host cannot be reached.
    admin::Json post(const std::string& path, const admin::Json& request) const;
    admin::Json get(const std::string& path) const;

  private:
    admin::Json answerOf(const httplib::Result& result) const;
    std::string whyUnreachable(httplib::Error error) const;

    const admin::Address address_;
    std::string token_;
};

}  // namespace kelp::ctl
