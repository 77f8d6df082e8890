#include "omniorb/requests/ready_reply.h"

#include <omniORB4/callDescriptor.h>
#include <omniORB4/omniORB.h>

// a request's call descriptor and code set are declared only in the ORB's internal headers, whose
// order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
#include <omniORB4/internal/orbParameters.h>
// clang-format on

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace kelp::orb {

namespace {

constexpr std::size_t kLengthBytes = 4;
constexpr std::size_t kAlignment = 4;
constexpr std::array<CORBA::Octet, kAlignment> kZeros{};

/// What a servant has given.
struct Given {
    ReadyEntries entries;
    SequencePlace place = SequencePlace::First;
};

/// Writes the results of a call, with ready entries in the place of an empty sequence.
class ReadyDescriptor final : public omniCallDescriptor {
  public:
    ReadyDescriptor() : omniCallDescriptor(nullptr, "", 0, false, nullptr, 0, true) {}

    void set(omniCallDescriptor& call, Given given) {
        call_ = &call;
        given_ = std::move(given);
    }
    void clear() {
        call_ = nullptr;
        given_ = {};
    }

    void marshalReturnedValues(cdrStream& stream) override {
        const Release release(*this, stream);
        cdrMemoryStream results(0, true);  // with padding of zeros
        results.TCS_C(stream.TCS_C());
        results.TCS_W(stream.TCS_W());
        call_->marshalReturnedValues(results);
        const auto* const octets = static_cast<const CORBA::Octet*>(results.bufPtr());
        const std::size_t at = given_.place == SequencePlace::AfterBoolean ? kLengthBytes : 0;
        const std::size_t end = at + kLengthBytes;
        requireEmptySequence(octets, results.bufSize(), at);
        if (given_.place == SequencePlace::AfterBoolean)
            stream.marshalOctet(octets[0]);
        stream.marshalULong(given_.entries.count);
        const std::string& entries = given_.entries.octets;
        put(stream, entries.data(), entries.size());
        if (results.bufSize() > end) {
            put(stream, kZeros.data(), (kAlignment - entries.size() % kAlignment) % kAlignment);
            put(stream, octets + end, results.bufSize() - end);
        }
    }

  private:
    /// Releases the memory of the entries once the ORB has written them. Before that it may count
    /// their size, with another stream.
    class Release {
      public:
        Release(ReadyDescriptor& descriptor, cdrStream& stream)
            : descriptor_(descriptor), isLast_(cdrCountingStream::downcast(&stream) == nullptr) {}
        ~Release() {
            if (isLast_)
                descriptor_.clear();
        }
        Release(const Release&) = delete;
        Release& operator=(const Release&) = delete;

      private:
        ReadyDescriptor& descriptor_;
        const bool isLast_;
    };

    static void requireEmptySequence(const CORBA::Octet* octets, std::size_t size, std::size_t at) {
        CORBA::ULong length = 1;
        if (size >= at + kLengthBytes)
            std::memcpy(&length, octets + at, kLengthBytes);
        if (length != 0)
            throw CORBA::INTERNAL(0, CORBA::COMPLETED_YES);
    }
    static void put(cdrStream& stream, const void* octets, std::size_t size) {
        if (size > 0)
            stream.put_octet_array(static_cast<const CORBA::Octet*>(octets),
                                   static_cast<int>(size));
    }

    omniCallDescriptor* call_ = nullptr;  ///< the skeleton's, which outlives the reply
    Given given_;
};

thread_local omni::GIOP_S* requestRead = nullptr;
/// The request whose servant may give ready entries now.
thread_local omni::GIOP_S* requestServed = nullptr;
thread_local std::optional<Given> givenEntries;

/// One descriptor for each thread: the ORB uses it after the servant has returned.
ReadyDescriptor& descriptorOfThisThread() {
    thread_local ReadyDescriptor descriptor;
    return descriptor;
}

/// Return whether the reply is written in this machine's byte order and texts are not converted.
bool isWrittenAsItIs(omni::GIOP_S& request) {
    const omni::omniCodeSet::TCS_C* transmission = request.TCS_C();
    const omni::omniCodeSet::NCS_C* native = omni::orbParameters::nativeCharCodeSet;
    return transmission != nullptr && native != nullptr && transmission->id() == native->id() &&
           !request.marshal_byte_swap();
}

}  // namespace

void ReadyReply::begin(omni::GIOP_S& request) {
    forget();
    // the reply to the last request may have failed before its results were written
    descriptorOfThisThread().clear();
    requestRead = &request;
}

void ReadyReply::forget() {
    requestRead = nullptr;
    givenEntries.reset();
}

ReadyReply::Scope::Scope() : before_(std::exchange(requestServed, nullptr)) {}

ReadyReply::Scope::Scope(omniCallDescriptor& call) : Scope() {
    if (requestRead != nullptr && requestRead->calldescriptor() == &call &&
        requestRead->response_expected())
        requestServed = requestRead;
}

ReadyReply::Scope::~Scope() {
    if (requestServed != nullptr)
        givenEntries.reset();
    requestServed = before_;
}

void ReadyReply::Scope::finish() {
    if (requestServed == nullptr || !givenEntries)
        return;
    ReadyDescriptor& descriptor = descriptorOfThisThread();
    descriptor.set(*requestServed->calldescriptor(), *std::exchange(givenEntries, std::nullopt));
    requestServed->calldescriptor(&descriptor);
}

bool takesReadyEntries() {
    return requestServed != nullptr && isWrittenAsItIs(*requestServed);
}

void answerWith(ReadyEntries entries, SequencePlace place) {
    if (!takesReadyEntries() || givenEntries)
        throw CORBA::BAD_INV_ORDER(0, CORBA::COMPLETED_NO);
    givenEntries = Given{std::move(entries), place};
}

}  // namespace kelp::orb
