#pragma once

#include <kelp/traps/access.h>

#include <vector>

namespace kelp::traps {

/// What net-snmp keeps for the whole process: our engine, the users, and what it knows of other
/// engines. While an object exists there cannot be a second one.
class NetSnmpState {
  public:
    /// Throws std::logic_error if another object exists, and std::runtime_error if net-snmp refuses
    /// the engine or a user.
    NetSnmpState(const Engine& engine, const std::vector<User>& users);
    /// Removes the users with their keys.
    ~NetSnmpState();
    NetSnmpState(const NetSnmpState&) = delete;
    NetSnmpState& operator=(const NetSnmpState&) = delete;
};

}  // namespace kelp::traps
