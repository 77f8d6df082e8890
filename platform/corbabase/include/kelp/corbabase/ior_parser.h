#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <string>

namespace NS_CORBA {

/// Where an NMS's own reference points, found by decoding it; nothing is called or resolved.
/// One object serves one log-in; not for concurrent use.
class KELP_EXPORT IOR_Parser {
  public:
    /// Fills `hostInfo` with "address:port" of the first IIOP profile, the TLS port when it has no
    /// plain one; IPv6 in brackets. False for nil, an undecodable reference or one without an
    /// address.
    bool GetHostInfo(CORBA::Object_ptr reference, std::string& hostInfo);
    /// "address:port" of the reference parsed last; false before the first.
    bool GetIPAndPortInfo(std::string& hostInfo) const;

  private:
    std::string last_;
};

}  // namespace NS_CORBA
