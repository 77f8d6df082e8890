#pragma once

#include <httplib.h>
#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>

#include <string>

namespace kelp::ctl {

/// Asks the running host by its operator's interface. Nothing waits longer than half a minute.
class AdminClient {
  public:
    /// Reads the token, if the address has one. Throws std::runtime_error with one line.
    explicit AdminClient(admin::Address address);

    /// The host's answer. Throws std::runtime_error with one line: its refusal, or why it cannot be
    /// asked.
    admin::Json post(const std::string& path, const admin::Json& request) const;
    admin::Json get(const std::string& path) const;

  private:
    admin::Json answerOf(const httplib::Result& result) const;
    std::string whyUnreachable(httplib::Error error) const;

    const admin::Address address_;
    std::string token_;
};

}  // namespace kelp::ctl
