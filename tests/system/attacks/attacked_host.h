#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "harness/host.h"
#include "harness/nms_process.h"

namespace kelp::test {

/// A host under attack, with an NMS that calls it all the time and must notice nothing.
///
/// Connections from kLoggedIn come from where an NMS is logged in; from kAllowed it may call but
/// nobody has logged in; calls from kForeign are not allowed.
class AttackedHost : public ::testing::Test {
  protected:
    static constexpr const char* kLoggedIn = "127.0.0.1";
    static constexpr const char* kAllowed = "127.0.0.3";
    static constexpr const char* kForeign = "127.0.0.2";
    static constexpr const char* kUser = "alice";

    using Options = std::map<std::string, std::string>;
    /// What an attacker saw, by name.
    using Seen = std::map<std::string, std::string>;

    AttackedHost();

    /// Starts the host and the bystander; settings are made before.
    void startHost();

    /// Runs attacker.py to its end.
    Seen attack(const std::string& name, const Options& options = {}) {
        return attack(name, host_.port(), options);
    }
    Seen attack(const std::string& name, std::uint16_t port, const Options& options = {});
    /// An attacker that goes on until its standard input is closed, that is, until it is destroyed.
    ChildProcess lastingAttack(const std::string& name, const Options& options);

    /// The host runs, spins on nothing, has served the bystander all the time, and stops when asked
    /// to.
    void expectUnharmed();
    /// The host's processor is idle while nobody but the bystander calls.
    bool isIdle();
    /// Lines that the host has traced so far.
    std::size_t tracedLines();

    /// The bystander's session as an object key; hexadecimal.
    std::string sessionKey();

    Host host_;
    std::unique_ptr<NmsProcess> bystander_;

  private:
    ChildProcess startAttack(const std::string& name, std::uint16_t port, const Options& options);
};

/// The number with this name; -1 when the attacker told none.
long numberIn(const std::map<std::string, std::string>& seen, const std::string& name);

/// Names a test after the address that its attacker calls from.
std::string attackerPlace(const ::testing::TestParamInfo<const char*>& address);

/// Octets as hexadecimal text.
std::string hexOf(const std::string& octets);

}  // namespace kelp::test
