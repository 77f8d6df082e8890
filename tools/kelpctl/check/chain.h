#pragma once

#include <kelp/util/secret.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "check/check_result.h"
#include "check/step_runner.h"

namespace kelp::ctl {

/// The TLS settings of the check.
struct CheckTls {
    std::string authorities;  ///< PEM file
    std::string keyFile;      ///< PEM file, key and certificate
    util::Secret keyPassword;
    std::string serverName;  ///< that certificates must show; empty: the host that is called
    bool checksName = true;
};

/// The way of an NMS from the naming service to the log-out. Each step uses what those before it
/// have found, so they run one after the other.
class Chain {
  public:
    /// Calls nobody. `tls` is set if the target is checked over TLS.
    Chain(const CheckTarget& target, util::Secret password, const std::optional<CheckTls>& tls);
    ~Chain();
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    /// Each returns what it found, or throws StepFailed.
    std::string askNaming();
    std::string resolveEntry();
    std::string connectToFactory();
    std::string askFactory();
    std::string logIn();
    std::string askManager();
    std::string connectConsumer();
    std::string logOut();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Return the steps, without those after the log-in if the target has no user. Each step owns the
/// chain.
std::vector<StepPlan> stepsOf(const std::shared_ptr<Chain>& chain, const CheckTarget& target);

}  // namespace kelp::ctl
