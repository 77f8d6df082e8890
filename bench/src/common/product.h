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

/// What a measurement sets; everything else is as shipped.
struct ProductSettings {
    int releaseStrategy = 0;
    bool pingMode = true;
    int pingIntervalS = 60;
    bool costlyHashes = false;          ///< the hash cost as shipped instead of the cheapest
    std::filesystem::path inventory{};  ///< empty: one that is made, without anything in it
    std::string transport = "gate";     ///< `[orb] transport`: "gate" or "orb"
};

/// A running kelpd with the agent and the managers as shipped, its own state directory and naming
/// service, and one user.
class Product {
  public:
    static constexpr const char* kUser = "operator";
    static constexpr const char* kPassword = "open sesame 7";

    /// Starts it; requests that come before it is ready are held by it. Throws std::runtime_error.
    explicit Product(const ProductSettings& settings);
    /// Stops it in order.
    ~Product();
    Product(const Product&) = delete;
    Product& operator=(const Product&) = delete;

    pid_t pid() const { return process_->pid(); }
    std::uint16_t port() const { return port_.port(); }
    /// The session factory by its persistent key.
    std::string factoryReference() const;

  private:
    test::Launch launch(const std::filesystem::path& program,
                        std::vector<std::string> arguments) const;

    test::ScratchDir scratch_;
    test::PortLease port_;
    test::PortLease namingPort_;
    std::optional<test::ChildProcess> process_;
};

}  // namespace kelp::bench
