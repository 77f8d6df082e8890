#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "harness/child_process.h"
#include "harness/port_lease.h"
#include "harness/scratch_dir.h"

namespace kelp::bench {

/// The settings that a measurement changes. All other settings have their defaults.
struct ProductSettings {
    int releaseStrategy = 0;
    bool pingMode = true;
    int pingIntervalS = 60;
    bool costlyHashes = false;          ///< use the default hash cost instead of the smallest
    std::filesystem::path inventory{};  ///< empty: a new inventory without objects
    std::string transport = "gate";     ///< `[orb] transport`: "gate" or "orb"
};

/// A running kelpd with the product's agent and managers, a separate state directory and naming
/// service, and one user.
class Product {
  public:
    static constexpr const char* kUser = "operator";
    static constexpr const char* kPassword = "open sesame 7";

    /// Start it. It holds requests that arrive before it is ready. Throws std::runtime_error.
    explicit Product(const ProductSettings& settings);
    /// Stop it in order.
    ~Product();
    Product(const Product&) = delete;
    Product& operator=(const Product&) = delete;

    /// End it with SIGKILL. Its files stay.
    void kill();
    /// Start it again after kill(), with the same settings.
    void start();

    pid_t pid() const { return process_->pid(); }
    std::uint16_t port() const { return port_.port(); }
    /// The reference of the session factory, with its persistent key.
    std::string factoryReference() const;
    /// The socket of the operator's interface.
    std::filesystem::path adminSocket() const { return scratch_ / "state" / "kelp" / "admin.sock"; }

  private:
    test::Launch launch(const std::filesystem::path& program,
                        std::vector<std::string> arguments) const;

    test::ScratchDir scratch_;
    test::PortLease port_;
    test::PortLease namingPort_;
    std::optional<test::ChildProcess> process_;
};

}  // namespace kelp::bench
