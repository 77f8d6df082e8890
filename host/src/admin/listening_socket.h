#pragma once

#include <kelp/admin/address.h>
#include <kelp/util/descriptor.h>

namespace kelp::host {

/// The listening socket of the operator's interface. A Unix socket has mode 0600. It replaces one
/// that a dead host left behind. The destructor removes it.
class ListeningSocket {
  public:
    /// Throws std::runtime_error with a one-sentence text.
    explicit ListeningSocket(const admin::Address& address);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    int descriptor() const { return socket_.get(); }
    /// Accept a connection. The result is not open when no caller waits or accepting failed; errno
    /// then holds the reason.
    util::Descriptor accept() const;

  private:
    void openUnix();
    void openTcp();

    const admin::Address address_;
    util::Descriptor socket_;
};

}  // namespace kelp::host
