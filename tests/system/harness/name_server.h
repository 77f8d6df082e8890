#pragma once

#include <optional>
#include <string>

#include "harness/child_process.h"
#include "harness/port_lease.h"
#include "harness/scratch_dir.h"

namespace kelp::test {

/// A naming service of its own, beside the host: one that tests may kill, freeze and start again.
class NameServer {
  public:
    /// Starts it and waits until it answers.
    NameServer();
    /// The same over TLS alone, with the files that the ORB's options of these names take.
    NameServer(const std::string& caFile, const std::string& keyFile);

    std::uint16_t port() const { return port_.port(); }
    ChildProcess& process() { return *process_; }

    /// Kills it and starts it again on the same port without what was bound.
    void restartEmpty();

  private:
    void start();

    PortLease port_;
    std::string caFile_;  ///< empty: no TLS
    std::string keyFile_;
    std::optional<ScratchDir> data_;
    std::optional<ChildProcess> process_;
};

/// True when a connection to the port is taken.
bool isListening(std::uint16_t port);

}  // namespace kelp::test
