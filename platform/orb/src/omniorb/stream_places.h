#pragma once

#include <omniORB4/CORBA.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace kelp::orb {

/// The largest alignment in CDR.
inline constexpr std::uint32_t kLargestAlignment = 8;

/// Where a stream of the ORB reads and writes next. The ORB aligns by the addresses in its buffers.
/// In GIOP 1.0 and 1.1 these do not correspond to the count of octets.
class StreamPlaces : private cdrStream {
  public:
    /// Return where the stream writes next, modulo the largest alignment.
    static std::uint32_t written(cdrStream& stream) {
        // the ORB first counts the size of a GIOP 1.0 or 1.1 message that is larger than the buffer
        if (cdrCountingStream* counter = cdrCountingStream::downcast(&stream))
            return static_cast<std::uint32_t>(counter->total() % kLargestAlignment);
        return static_cast<std::uint32_t>(
            reinterpret_cast<std::uintptr_t>(stream.*(&StreamPlaces::pd_outb_mkr)) %
            kLargestAlignment);
    }
    /// Return whether this number of octets fits into the stream's buffer.
    static bool hasRoomFor(const cdrStream& stream, std::size_t octets) {
        return octets <=
               distance(stream.*(&StreamPlaces::pd_outb_mkr), stream.*(&StreamPlaces::pd_outb_end));
    }
    /// Return the octets that are in the stream's buffer and have not been read.
    static std::span<const std::uint8_t> unread(const cdrStream& stream) {
        const void* begin = stream.*(&StreamPlaces::pd_inb_mkr);
        return {static_cast<const std::uint8_t*>(begin),
                distance(begin, stream.*(&StreamPlaces::pd_inb_end))};
    }

  private:
    static std::size_t distance(const void* begin, const void* end) {
        const auto between = static_cast<const char*>(end) - static_cast<const char*>(begin);
        return between < 0 ? 0 : static_cast<std::size_t>(between);
    }
};

}  // namespace kelp::orb
