#pragma once

#include <optional>
#include <string>

#include "harness/child_process.h"
#include "harness/port_lease.h"
#include "harness/scratch_dir.h"

namespace kelp::test {

/// A naming service separate from the host, which tests may kill, freeze and restart.
class NameServer {
  public:
    /// Start it and wait until it answers.
    NameServer();
    /// Start it with TLS only. The arguments are the files that the ORB options of these names
    /// take.
    NameServer(const std::string& caFile, const std::string& keyFile);

    std::uint16_t port() const { return port_.port(); }
    ChildProcess& process() { return *process_; }

    /// Kill it and start it again on the same port without its bindings.
    void restartEmpty();

  private:
    void start();

    PortLease port_;
    std::string caFile_;  ///< empty: no TLS
    std::string keyFile_;
    std::optional<ScratchDir> data_;
    std::optional<ChildProcess> process_;
};

/// True if the port accepts a connection.
bool isListening(std::uint16_t port);

}  // namespace kelp::test
