#include "records/cbor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kelp/alarms/change.h"

namespace kelp::alarms {

namespace {

/// Maximum nesting. An alarm within an entry within a saved list has 9 levels.
constexpr std::size_t kDepthMax = 12;
/// Maximum number of members of an object, because a member is found by a linear search.
constexpr std::uint64_t kMembersMax = 1100;

[[noreturn]] void refuseItem(const char* what) {
    throw DamagedRecord(std::string("a record of the change log is damaged: ") + what);
}

/// Finds where an item of CBOR ends, without recursion, and refuses what appendCbor() never writes.
class Scan {
  public:
    explicit Scan(std::string_view text) : text_(text) {}

    /// The length of the item.
    std::size_t run() {
        std::size_t depth = 0;
        std::array<std::uint64_t, kDepthMax> left{};  // items, of each open array and object
        std::uint64_t items = readHead();
        for (;;) {
            if (items > 0) {
                if (depth == kDepthMax)
                    refuseItem("it is nested too deeply");
                left[depth++] = items;
            } else {
                while (depth > 0 && --left[depth - 1] == 0)
                    --depth;
            }
            if (depth == 0)
                return at_;
            items = readHead();
        }
    }

  private:
    enum Major { Unsigned, Negative, Octets, Text, Array, Object, Tag, Simple };

    /// Read the head of an item, and the text behind it. Return the number of items that belong to
    /// it: of an array its elements, of an object its keys and values.
    std::uint64_t readHead() {
        const auto first = static_cast<unsigned>(octet());
        const unsigned low = first & 0x1FU;
        const auto major = static_cast<Major>(first >> 5U);
        if (major == Octets || major == Tag || low > 27 || (major == Simple && low < 20))
            refuseItem("it contains an unknown type");
        if (major == Simple) {
            if (low == 24)
                refuseItem("it contains an unknown type");
            if (low > 24)
                skip(std::size_t{1} << (low - 24));
            return 0;
        }
        const std::uint64_t argument = low < 24 ? low : number(std::size_t{1} << (low - 24));
        if (major == Text)
            skip(argument);
        if (major != Array && major != Object)
            return 0;
        if (argument > left() || (major == Object && argument > kMembersMax))
            refuseItem("it announces more than it contains");
        return major == Object ? 2 * argument : argument;
    }

    std::size_t left() const { return text_.size() - at_; }
    unsigned char octet() {
        if (left() == 0)
            refuseItem("its end is missing");
        return static_cast<unsigned char>(text_[at_++]);
    }
    std::uint64_t number(std::size_t octets) {
        std::uint64_t value = 0;
        for (; octets > 0; --octets)
            value = (value << 8U) | octet();
        return value;
    }
    void skip(std::uint64_t octets) {
        if (octets > left())
            refuseItem("its end is missing");
        at_ += octets;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace

void appendCbor(std::string& text, const Json& value) {
    Json::to_cbor(value, text);
}

Json takeCbor(std::string_view& text) {
    const std::string_view item = text.substr(0, Scan(text).run());
    text.remove_prefix(item.size());
    Json value;
    try {
        value = Json::from_cbor(item.begin(), item.end());
    } catch (const Json::exception&) {
        refuseItem("it is not CBOR");
    }
    // Of a key that stands twice only the last value would be left, and nobody would notice.
    std::string again;
    again.reserve(item.size());
    appendCbor(again, value);
    if (again != item)
        refuseItem("it has a key twice, or a number in a longer form than needed");
    return value;
}

}  // namespace kelp::alarms
