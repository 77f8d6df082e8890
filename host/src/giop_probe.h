#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kelp::host {

/// Asks whether an object with this key lives at an address: one GIOP 1.0 LocateRequest (CORBA 2.6,
/// clause 15.4.5), no ORB needed. True when the answer says that it is here or somewhere else; false for any
/// other answer or none within `limit`.
bool objectAnswers(const std::string& host, std::uint16_t port, const std::string& key,
                   std::chrono::milliseconds limit);

/// Whether connections to an address are taken. False when none is within `limit`.
bool portAccepts(const std::string& host, std::uint16_t port, std::chrono::milliseconds limit);

}  // namespace kelp::host
