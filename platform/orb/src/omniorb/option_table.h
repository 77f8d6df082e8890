#pragma once

#include <kelp/orb/orb.h>

#include <string>
#include <utility>
#include <vector>

namespace kelp::orb {

/// The ORB's options by name, in the form that ORB_init takes. Names may repeat: each endpoint has
/// an entry.
class OptionTable {
  public:
    void add(const std::string& name, const std::string& value);
    void add(const std::string& name, unsigned long value);

    /// Return pairs of name and value, ended by a pair of null pointers. Valid until the table
    /// changes or is destroyed.
    const char* (*pairs())[2];

  private:
    struct Pair {
        const char* text[2];
    };
    std::vector<std::pair<std::string, std::string>> entries_;
    std::vector<Pair> pairs_;
};

/// Return the ORB's options for what the caller asked for, except for the certificates of TLS.
OptionTable optionTable(const OrbOptions& options);

}  // namespace kelp::orb
