#include "omniorb/encodings.h"

#include <kelp/util/mutex.h>

#include <array>
#include <memory>
#include <vector>

#include "omniorb/encoded_events.h"
#include "omniorb/stream_places.h"

// the version of a message is declared only in the ORB's internal headers
#include <omniORB4/internal/giopStream.h>

namespace kelp::orb {

namespace {

/// An event begins with the length of its domain name, an unsigned long.
constexpr std::uint32_t kEventAlignment = 4;
static_assert(kLargestAlignment % kEventAlignment == 0);

constexpr std::array<CORBA::Octet, kLargestAlignment> kPadding{};

/// Return whether the stream is GIOP 1.1, which aligns anew in each fragment of a message. An event
/// that is cut in two then has no encoding that can be reused.
bool alignsInFragments(cdrStream& stream) {
    omni::giopStream* message = omni::giopStream::downcast(&stream);
    return message != nullptr && message->version().major == 1 && message->version().minor == 1;
}

/// Held while encoding in another form, so that others who need the same form wait and do not
/// encode it again. Few events need other forms, so they share it.
util::Mutex otherFormsMutex{util::LockRank::Service, "otherFormsMutex"};

/// What the octets depend on.
struct OtherForm {
    const void* narrow;
    const void* wide;
    bool swapped;
    std::uint32_t offset;  ///< of the first octet, modulo 8, the largest alignment in CDR
    bool operator==(const OtherForm&) const = default;
};

std::vector<CORBA::Octet> encodedLike(cdrStream& like, std::uint32_t offset,
                                      const CosNotification::StructuredEvent& event) {
    cdrMemoryStream memory(0, true);
    memory.TCS_C(like.TCS_C());
    memory.TCS_W(like.TCS_W());
    if (like.marshal_byte_swap())
        memory.setByteSwapFlag(!omni::myByteOrder);
    memory.put_octet_array(kPadding.data(), static_cast<int>(offset));
    event >>= memory;
    const auto* first = static_cast<const CORBA::Octet*>(memory.bufPtr());
    return {first + offset, first + memory.bufSize()};
}

}  // namespace

/// An encoding in another form. A list, of which only the head changes.
struct SharedEvent::Others {
    OtherForm form;
    std::vector<CORBA::Octet> octets;
    std::unique_ptr<Others> next;

    static const Others* find(const SharedEvent& event, const OtherForm& form) {
        const Others* each = event.others_.load(std::memory_order_acquire);
        while (each != nullptr && each->form != form)
            each = each->next.get();
        return each;
    }
    static const Others& get(const SharedEvent& event, cdrStream& stream, std::uint32_t offset) {
        const OtherForm form{stream.TCS_C(), stream.TCS_W(), stream.marshal_byte_swap() != 0,
                             offset};
        if (const Others* known = find(event, form))
            return *known;
        const CosNotification::StructuredEvent decoded = event.decoded();
        const util::MutexLock lock(otherFormsMutex);
        if (const Others* known = find(event, form))
            return *known;
        auto made =
            std::make_unique<Others>(Others{form, encodedLike(stream, offset, decoded), nullptr});
        made->next.reset(event.others_.load(std::memory_order_relaxed));
        event.others_.store(made.get(), std::memory_order_release);
        return *made.release();
    }
};

SharedEvent::~SharedEvent() {
    const std::unique_ptr<Others> owned(others_.load(std::memory_order_acquire));
}

std::size_t SharedEvent::encodingsKept() const {
    std::size_t count = event_.octets() == 0 ? 0 : 1;
    for (const Others* each = others_.load(std::memory_order_acquire); each != nullptr;
         each = each->next.get())
        ++count;
    return count;
}

std::size_t SharedEvent::octetsKept() const {
    if (event_.octets() != 0)
        return event_.octets();
    const Others* first = others_.load(std::memory_order_acquire);
    return first == nullptr ? 0 : first->octets.size();
}

SharedEvent::Encodings SharedEvent::encodings() const {
    return Encodings(*this);
}

void SharedEvent::Encodings::write(cdrStream& stream) const {
    const EncodedEvent& own = event_.event_;
    const std::uint32_t position = StreamPlaces::written(stream);
    // align first, so that a batch has two different offsets instead of eight
    const std::uint32_t padding = (kEventAlignment - position % kEventAlignment) % kEventAlignment;
    const std::uint32_t offset = (position + padding) % kLargestAlignment;
    const bool isOwn = EncodedEvents::canWrite(own, stream);
    const Others* other = isOwn ? nullptr : &Others::get(event_, stream, offset);
    const std::size_t size = isOwn ? own.octets() + kEventAlignment : other->octets.size();
    if (alignsInFragments(stream) && !StreamPlaces::hasRoomFor(stream, padding + size)) {
        event_.decoded() >>= stream;
        return;
    }
    stream.put_octet_array(kPadding.data(), static_cast<int>(padding));
    if (isOwn)
        EncodedEvents::write(own, stream, offset);
    else
        stream.put_octet_array(other->octets.data(), static_cast<int>(other->octets.size()));
}

}  // namespace kelp::orb
