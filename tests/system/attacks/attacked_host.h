#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "harness/host.h"
#include "harness/nms_process.h"

namespace kelp::test {

/// A host under attack, with an NMS (the bystander) that calls it continuously and must notice
/// nothing.
///
/// Connections come from three addresses. At kLoggedIn an NMS is logged in. kAllowed may call, but
/// nobody is logged in there. Calls from kForeign are not allowed.
class AttackedHost : public ::testing::Test {
  protected:
    static constexpr const char* kLoggedIn = "127.0.0.1";
    static constexpr const char* kAllowed = "127.0.0.3";
    static constexpr const char* kForeign = "127.0.0.2";
    static constexpr const char* kUser = "alice";

    using Options = std::map<std::string, std::string>;
    /// The values that an attacker reports, by name.
    using Seen = std::map<std::string, std::string>;

    AttackedHost();

    /// Start the host and the bystander. Make settings before.
    void startHost();

    /// Run attacker.py to its end.
    Seen attack(const std::string& name, const Options& options = {}) {
        return attack(name, host_.port(), options);
    }
    Seen attack(const std::string& name, std::uint16_t port, const Options& options = {});
    /// Start an attacker that continues until its standard input is closed, which the destructor of
    /// its process does.
    ChildProcess lastingAttack(const std::string& name, const Options& options);

    /// Expect that the host runs, that it is idle, that it has served the bystander, and that it
    /// stops on request.
    void expectUnharmed();
    /// True if the host uses hardly any processor time while only the bystander calls.
    bool isIdle();
    /// Return the number of lines that the host has traced so far.
    std::size_t tracedLines();

    /// Return the object key of the bystander's session in hexadecimal.
    std::string sessionKey();

    Host host_;
    std::unique_ptr<NmsProcess> bystander_;

  private:
    ChildProcess startAttack(const std::string& name, std::uint16_t port, const Options& options);
};

/// Return the number with this name, or -1 if the attacker reported none.
long numberIn(const std::map<std::string, std::string>& seen, const std::string& name);

/// Name a test after the address from which its attacker calls.
std::string attackerPlace(const ::testing::TestParamInfo<const char*>& address);

/// Return octets as hexadecimal text.
std::string hexOf(const std::string& octets);

}  // namespace kelp::test
