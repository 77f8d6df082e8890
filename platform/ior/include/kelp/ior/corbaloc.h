#pragma once

#include <kelp/ior/reference_content.h>
#include <kelp/util/export.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelp::ior {

/// The content of a corbaloc or corbaname text (CORBA 13.6.10), found by reading it. Nothing is
/// resolved or called.
struct KELP_EXPORT CorbalocContent {
    std::vector<Endpoint> endpoints;  ///< in order; empty for "rir:"
    std::string iiopVersion;          ///< of the first address; 1.0 unless it names one
    std::string objectKey;            ///< with its escapes, as written; may be empty
    bool hasName = false;             ///< a corbaname text: the key is that of a naming service
    std::string name;                 ///< the stringified name after "#", with its escapes
};

/// Read a corbaloc or corbaname text from any source. The port is 2809 unless an address names one.
/// Return an empty text, or what is wrong with it; `content` is then empty. A text may have 8192
/// characters and 64 addresses.
KELP_EXPORT std::string readCorbaloc(std::string_view text, CorbalocContent& content);

}  // namespace kelp::ior
