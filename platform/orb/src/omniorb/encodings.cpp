#include "encodings.h"

#include <omniORB4/internal/giopStream.h>
#include <omniORB4/omniInternal.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace kelp::orb {

namespace {

constexpr std::uint32_t kLargestAlignment = 8;
/// An event begins with the length of its domain name, an unsigned long.
constexpr std::uint32_t kEventAlignment = 4;
static_assert(kLargestAlignment % kEventAlignment == 0);

constexpr std::array<CORBA::Octet, kLargestAlignment> kPadding{};

/// Where the stream writes next, modulo the largest alignment. The ORB aligns by the address in its
/// buffer. In GIOP 1.0 and 1.1 that does not correspond to the count of octets written.
class WritePosition : private cdrStream {
  public:
    static std::uint32_t of(cdrStream& stream) {
        // the ORB first counts the size of a GIOP 1.0 or 1.1 message that is larger than the buffer
        if (cdrCountingStream* counter = cdrCountingStream::downcast(&stream))
            return static_cast<std::uint32_t>(counter->total() % kLargestAlignment);
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(next(stream)) %
                                          kLargestAlignment);
    }
    /// Return whether this number of octets fits into the stream's buffer.
    static bool hasRoomFor(const cdrStream& stream, std::size_t octets) {
        const void* end = stream.*(&WritePosition::pd_outb_end);
        return octets <= static_cast<std::size_t>(static_cast<const char*>(end) - next(stream));
    }

  private:
    static const char* next(const cdrStream& stream) {
        return static_cast<const char*>(stream.*(&WritePosition::pd_outb_mkr));
    }
};

/// Return whether the stream is GIOP 1.1, which aligns anew in each fragment of a message. An event
/// that is cut in two then has no encoding that can be reused.
bool alignsInFragments(cdrStream& stream) {
    omni::giopStream* message = omni::giopStream::downcast(&stream);
    return message != nullptr && message->version().major == 1 && message->version().minor == 1;
}

}  // namespace

SharedEvent::SharedEvent(StructuredEventPtr event)
    : body(*event), event_(std::move(event)), encodings_(std::make_unique<Encodings>(body)) {}

SharedEvent::SharedEvent(const CosNotification::StructuredEvent& event)
    : SharedEvent(std::make_shared<const CosNotification::StructuredEvent>(event)) {}

SharedEvent::~SharedEvent() = default;

std::size_t SharedEvent::encodingsKept() const {
    return encodings_->count();
}

std::size_t SharedEvent::octetsKept() const {
    return encodings_->octets();
}

void SharedEvent::Encodings::write(cdrStream& stream) {
    const std::uint32_t offset = WritePosition::of(stream);
    // align first, so that a batch has two different offsets instead of eight
    const std::uint32_t padding = (kEventAlignment - offset % kEventAlignment) % kEventAlignment;
    const std::vector<CORBA::Octet>& octets =
        octetsFor(stream, (offset + padding) % kLargestAlignment);
    if (alignsInFragments(stream) && !WritePosition::hasRoomFor(stream, padding + octets.size())) {
        event_ >>= stream;
        return;
    }
    stream.put_octet_array(kPadding.data(), static_cast<int>(padding));
    stream.put_octet_array(octets.data(), static_cast<int>(octets.size()));
}

std::size_t SharedEvent::Encodings::count() const {
    const util::MutexLock lock(mutex_);
    return static_cast<std::size_t>(std::distance(made_.begin(), made_.end()));
}

std::size_t SharedEvent::Encodings::octets() const {
    const util::MutexLock lock(mutex_);
    return made_.empty() ? 0 : made_.front().octets.size();
}

const std::vector<CORBA::Octet>& SharedEvent::Encodings::octetsFor(cdrStream& stream,
                                                                   std::uint32_t offset) {
    const Form form{stream.TCS_C(), stream.TCS_W(), stream.marshal_byte_swap() != 0, offset};
    const util::MutexLock lock(mutex_);
    const auto known = std::find_if(made_.begin(), made_.end(),
                                    [&form](const Encoding& each) { return each.form == form; });
    if (known != made_.end())
        return known->octets;
    // callers hold references to elements of the list, which do not move
    made_.push_front({form, encode(stream, offset)});
    return made_.front().octets;
}

std::vector<CORBA::Octet> SharedEvent::Encodings::encode(cdrStream& like,
                                                         std::uint32_t offset) const {
    cdrMemoryStream memory(0, true);
    memory.TCS_C(like.TCS_C());
    memory.TCS_W(like.TCS_W());
    if (like.marshal_byte_swap())
        memory.setByteSwapFlag(!omni::myByteOrder);
    memory.put_octet_array(kPadding.data(), static_cast<int>(offset));
    event_ >>= memory;
    const auto* first = static_cast<const CORBA::Octet*>(memory.bufPtr());
    return {first + offset, first + memory.bufSize()};
}

}  // namespace kelp::orb
