#pragma once

#include <httplib.h>
#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>

#include <stdexcept>
#include <string>

namespace kelp::ctl {

/// The host has refused a request, for the reason that the sentence gives.
class RequestRefused : public std::runtime_error {
  public:
    RequestRefused(const std::string& why, int status) : std::runtime_error(why), status_(status) {}

    int status() const { return status_; }  ///< of HTTP

  private:
    int status_;
};

/// Sends requests to the running host through its operator interface. A request takes at most 30 s.
class AdminClient {
  public:
    /// Read the token, if the address has one. Throws std::runtime_error with one line.
    explicit AdminClient(admin::Address address);

    /// Send a request and return the host's answer. Throws RequestRefused, or std::runtime_error
    /// with why the host cannot be reached, in one line.
    admin::Json post(const std::string& path, const admin::Json& request) const;
    admin::Json get(const std::string& path, const admin::Query& query = {}) const;
    admin::Json remove(const std::string& path, const admin::Query& query = {}) const;

  private:
    admin::Json answerOf(const httplib::Result& result) const;
    std::string whyUnreachable(httplib::Error error) const;

    const admin::Address address_;
    std::string token_;
};

}  // namespace kelp::ctl
