#pragma once

#include <kelp/util/export.h>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelp::traps {

/// An SNMP object identifier.
class KELP_EXPORT Oid {
  public:
    /// Maximum number of components (RFC 2578, 3.5).
    static constexpr std::size_t kComponentsMax = 128;

    Oid() = default;
    explicit Oid(std::vector<std::uint32_t> components) : components_(std::move(components)) {}

    /// Read "1.3.6.1" or ".1.3.6.1": at least two numbers, the first one 0 to 2. Names of MIBs are
    /// not known here.
    static std::optional<Oid> parse(const std::string& text);

    const std::vector<std::uint32_t>& components() const { return components_; }
    bool isWithin(const Oid& other) const;
    /// The components after `base` joined by dots; empty if this is not within `base`.
    std::string indexAfter(const Oid& base) const;
    /// "1.3.6.1"; empty for an OID without components.
    std::string text() const;

    auto operator<=>(const Oid&) const = default;

  private:
    std::vector<std::uint32_t> components_;
};

}  // namespace kelp::traps
