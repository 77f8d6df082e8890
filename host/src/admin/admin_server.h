#pragma once

#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>
#include <kelp/admin/state_claim.h>

#include <optional>

#include "access_token.h"
#include "http_listener.h"

namespace kelp::host {

/// The operator's interface on this machine: serves the entries of the registry as JSON over HTTP.
class AdminServer {
  public:
    /// Start to listen. Throws std::runtime_error with a one-sentence text when that fails, or when
    /// another host listens.
    explicit AdminServer(const admin::Address& address, const AdminLimits& limits = {},
                         admin::Registry& registry = admin::Registry::instance());

  private:
    HttpAnswers::Rules rulesFor(const admin::Address& address, const AdminLimits& limits) const;

    const admin::StateClaim claim_;
    const std::optional<AccessToken> token_;
    HttpListener listener_;
};

}  // namespace kelp::host
