// Checks that a message is long enough for a sequence of the length that it claims. The ORB's own
// functions multiply in 32 bits, so that 0x40000000 numbers of four octets take no space. The ORB
// then allocates gigabytes, and the servant gets a sequence that was never filled.
//
// The dynamic linker prefers these definitions to the ORB's, also for calls from within the ORB,
// because libkelp_orb precedes the ORB's library wherever it is linked.

#include <omniORB4/CORBA.h>

// the streams of messages are declared only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
// clang-format on

#include <cstdint>

namespace {

/// Return the octets that the items take from `at` on, including the padding before them.
std::uint64_t octetsOf(const void* at, CORBA::ULong itemSize, CORBA::ULong items,
                       omni::alignment_t alignment) {
    const auto begin = reinterpret_cast<std::uintptr_t>(at);
    const std::uint64_t padding = omni::align_to(begin, alignment) - begin;
    return padding + std::uint64_t{itemSize} * items;
}

}  // namespace

__attribute__((visibility("default"))) CORBA::Boolean cdrMemoryStream::checkInputOverrun(
    CORBA::ULong itemSize, CORBA::ULong items, omni::alignment_t alignment) {
    if (!pd_readonly_and_external_buffer)
        pd_inb_end = pd_outb_mkr;
    const auto left = static_cast<const char*>(pd_inb_end) - static_cast<const char*>(pd_inb_mkr);
    return left >= 0 &&
           octetsOf(pd_inb_mkr, itemSize, items, alignment) <= static_cast<std::uint64_t>(left);
}

__attribute__((visibility("default"))) CORBA::Boolean omni::giopStream::checkInputOverrun(
    CORBA::ULong itemSize, CORBA::ULong items, omni::alignment_t alignment) {
    return octetsOf(pd_inb_mkr, itemSize, items, alignment) <= impl()->inputRemaining(this);
}
