#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "giop/events/known_types.h"
#include "giop/events/type_code_paddings.h"

namespace kelp::orb::giop {

/// Where the parts of an encoded structured event are. All positions are offsets in the octets that
/// were scanned.
struct EventMap {
    static constexpr std::size_t kNowhere = SIZE_MAX;
    std::size_t begin = 0;
    std::size_t end = 0;
    /// The end of the length of the variable header.
    std::size_t header = 0;
    /// The beginnings of: each property of the variable header, the length of the filterable data,
    /// each property of the filterable data, and the rest of the body. Multiples of 4.
    std::vector<std::size_t> marks;
    /// The end of what precedes the first value with an alignment of 8, before its padding. From
    /// that value on, the octets are the same wherever the event begins.
    std::size_t firstEight = kNowhere;
    std::vector<Padding> paddings;
    /// Whether the octets are the same in all code sets that contain ASCII, and an ORB that knows
    /// their types accepts them.
    bool isPlain = true;
    /// The TypeCode that was read last in an encapsulation, without what its padding contained.
    std::vector<std::uint8_t> typeCode;

    void clear() {
        marks.clear();
        paddings.clear();
        firstEight = kNowhere;
        isPlain = true;
    }
};

/// Finds the parts of an encoded structured event, and checks that its octets are one (CORBA 15.3).
/// The octets may be hostile: no position leads beyond them, and the work is limited by their
/// number. Used once. Not thread safe.
class EventScan {
  public:
    using Octets = std::span<const std::uint8_t>;

    enum class Verdict {
        Fine,
        UnknownType,  ///< EventMap::typeCode is not known
        Refused       ///< not an event, too deep, or a kind of value that is not handled
    };

    /// Scan from `at` on. The octets are in native byte order; the first of them is aligned to 8.
    /// Fills `map`, which is of use after the verdict Fine only.
    EventScan(Octets octets, std::size_t at, const KnownTypes& types, EventMap& map);

    Verdict run();

  private:
    bool event();
    bool properties();
    bool name();
    bool any();
    bool valueOfKind(std::uint32_t kind);
    bool described(std::size_t begin);

    // values of a known type
    bool value(const KnownType& type, std::uint32_t place);
    bool inside(const KnownType& type, const TypeNode& node);
    bool structMembers(const KnownType& type, const TypeNode& node);
    bool unionMember(const KnownType& type, const TypeNode& node);
    bool sequence(const KnownType& type, const TypeNode& node);
    bool elements(const KnownType& type, std::uint32_t place, std::uint64_t count);

    bool text();
    bool wideChar();
    bool fixed();
    bool reference();
    bool typeCode();
    bool notPlain(bool isRead);
    bool number(std::size_t size, std::uint64_t& value);
    bool numbers(std::size_t size, std::uint64_t count);
    bool unsignedLong(std::uint32_t& value);
    bool align(std::size_t alignment);
    bool skip(std::uint64_t octets);
    bool skipCounted();
    bool spend(std::uint64_t steps);
    std::size_t left() const { return octets_.size() - at_; }

    const Octets octets_;
    const KnownTypes& types_;
    std::size_t at_;
    std::uint64_t work_;
    std::uint32_t depth_ = 0;
    std::uint32_t anyDepth_ = 0;
    EventMap& map_;
    bool isUnknown_ = false;
};

}  // namespace kelp::orb::giop
