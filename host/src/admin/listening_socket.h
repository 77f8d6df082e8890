#pragma once

#include <kelp/admin/address.h>
#include <kelp/util/descriptor.h>

namespace kelp::host {

/// The socket that callers of the operator's interface connect to. A Unix socket has mode 0600,
/// replaces one that a dead host left, and is removed at the end.
class ListeningSocket {
  public:
    /// Throws std::runtime_error with one sentence.
    explicit ListeningSocket(const admin::Address& address);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    int descriptor() const { return socket_.get(); }
    /// A new connection; not open when nobody waits or there is none to be had now.
    util::Descriptor accept() const;

  private:
    void openUnix();
    void openTcp();

    const admin::Address address_;
    util::Descriptor socket_;
};

}  // namespace kelp::host
