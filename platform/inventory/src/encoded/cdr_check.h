#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace kelp::inventory {

/// Checks whether octets are values in CDR, one after the other, in this machine's byte order. The
/// first value that does not fit makes the whole check fail, and all after it do not fit either.
/// Padding may have any value, because receivers skip it. Called for every row that is sent, so all
/// functions are inline.
class CdrCheck {
  public:
    explicit CdrCheck(std::string_view octets)
        : begin_(octets.data()), next_(octets.data()), end_(octets.data() + octets.size()) {}

    /// Return whether all values fitted and no octet is left.
    bool isComplete() const { return isGood_ && next_ == end_; }

    /// Return the number; 0 if it does not fit.
    std::uint32_t number() {
        std::uint32_t value = 0;
        if (pass(padding(sizeof value) + sizeof value))
            std::memcpy(&value, next_ - sizeof value, sizeof value);
        return value;
    }
    void rate() { pass(padding(sizeof(std::int16_t)) + sizeof(std::int16_t)); }
    void flag() {
        if (pass(1))
            isGood_ = static_cast<std::uint8_t>(next_[-1]) <= 1;
    }
    /// A number below `count`.
    void choice(std::uint32_t count) {
        if (number() >= count)
            isGood_ = false;
    }
    void text() {
        const std::uint32_t length = number();
        if (!pass(length) || length == 0 || next_[-1] != '\0')
            isGood_ = false;
    }
    /// A sequence whose entries `entry` checks. It ends with the first entry that does not fit, so
    /// a wrong length costs nothing.
    template <class Entry>
    void list(Entry entry) {
        for (std::uint32_t left = number(); left > 0 && isGood_; --left)
            entry();
    }
    void texts() {
        list([this] { text(); });
    }
    void pairs() {
        list([this] {
            text();
            text();
        });
    }
    void rates() {
        list([this] { rate(); });
    }

  private:
    std::size_t padding(std::size_t to) const {
        return (to - static_cast<std::size_t>(next_ - begin_)) & (to - 1);
    }
    /// Return false, and pass over nothing, if there are fewer octets.
    bool pass(std::size_t count) {
        if (count > static_cast<std::size_t>(end_ - next_) || !isGood_)
            return isGood_ = false;
        next_ += count;
        return true;
    }

    const char* const begin_;
    const char* next_;
    const char* const end_;
    bool isGood_ = true;
};

}  // namespace kelp::inventory
