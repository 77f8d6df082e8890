#pragma once

#include <kelp/orb/corba.h>

#include <string>

#include "common/giop_message.h"
#include "support/tcp_peers.h"

namespace kelp::bench {

/// An iterator that is called with GIOP messages that the benchmark builds, over a connection of
/// its own. Throws std::runtime_error when the connection fails.
class PlainIterator {
  public:
    /// Where the flag for more stands in a reply without service contexts.
    static constexpr std::size_t kIsMoreAt = 12;

    PlainIterator(CORBA::ORB_ptr orb, CORBA::Object_ptr iterator, const RequestForm& form);
    /// Call next_n and return the reply without its header.
    std::string next(CORBA::ULong howMany);

    // The parts of a reply of next_n. Throw std::out_of_range for a reply that is too short.
    static bool isResult(const std::string& reply);
    static bool isMore(const std::string& reply);
    static CORBA::ULong count(const std::string& reply);

  private:
    const RequestForm form_;
    std::string key_;
    test::Socket connection_;
};

}  // namespace kelp::bench
