#pragma once

#include <cstdint>
#include <vector>

#include "giop/message_header.h"
#include "giop/octet_buffer.h"
#include "giop/progress.h"

namespace kelp::orb::giop {

/// A request that is still missing fragments.
class FragmentedRequest {
  public:
    FragmentedRequest(std::uint32_t id, const MessageHeader& header, InputBudget& budget,
                      const Progress& progress)
        : id_(id), header_(header), octets_(budget), progress_(progress) {}

    std::uint32_t id() const { return id_; }
    const MessageHeader& header() const { return header_; }
    /// Return the size of the request in octets with this fragment added, without the headers of
    /// its fragments.
    std::size_t octetsWith(const MessageHeader& fragment) const;
    std::size_t octets() const { return size_; }
    Progress::Time deadline() const { return progress_.deadline(); }
    void postpone(Progress::Duration time) { progress_.postpone(time); }

    /// Add the request's first message or a fragment. Return false when there is no memory.
    bool add(Octets message, const ProgressRule& rule, Progress::Time now);
    /// GIOP 1.2: return the whole request as one message. The object must not be used afterwards.
    OctetBuffer joined();
    /// GIOP 1.1, where alignment restarts in each fragment: return the messages one after the
    /// other, as received.
    OctetBuffer messages();

  private:
    std::size_t fragmentHeaderOctets() const;

    std::uint32_t id_;
    MessageHeader header_;  ///< of the first message
    OctetBuffer octets_;
    Progress progress_;
    std::size_t size_ = 0;
};

/// The parts of a GIOP 1.1 request as one message without the headers of its fragments, and the
/// offset in it at which each fragment begins. Empty when there is no memory.
struct JoinedParts {
    OctetBuffer message;
    std::vector<std::size_t> fragments;
    std::size_t firstOctets = 0;  ///< of the first message
};
JoinedParts joinParts(Octets messages, InputBudget& budget);

}  // namespace kelp::orb::giop
