#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <string>

namespace NS_CORBA {

/// Finds the address of an NMS by decoding its reference. Nothing is called or resolved. One object
/// serves one log-in and one thread.
class KELP_EXPORT IOR_Parser {
  public:
    /// Fill `hostInfo` with "address:port" of the first IIOP profile. The port is the TLS port when
    /// the profile has no plain one; an IPv6 address is in brackets. False for nil, and for a
    /// reference that cannot be decoded or has no address.
    bool GetHostInfo(CORBA::Object_ptr reference, std::string& hostInfo);
    /// Fill `hostInfo` with "address:port" of the reference parsed last. False before the first
    /// one.
    bool GetIPAndPortInfo(std::string& hostInfo) const;

  private:
    std::string last_;
};

}  // namespace NS_CORBA
