#pragma once

#include <httplib.h>
#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <thread>

#include "connection.h"
#include "http_answers.h"
#include "listening_socket.h"

namespace kelp::host {

/// Limits of a listener of the operator's interface.
struct AdminLimits {
    /// Maximum size of a body. A thousand alarms with all their fields fit into 1 MiB.
    std::size_t bodyBytesMax = 1u << 20;
    std::size_t headBytesMax = 64u << 10;
    /// Time for a complete request. A caller on the same machine needs milliseconds.
    std::chrono::milliseconds readTime{5000};
    std::chrono::milliseconds writeTime{5000};
    /// Time for a complete request while other callers wait for a thread.
    std::chrono::milliseconds patience{1000};
    /// Maximum number of requests answered concurrently.
    std::size_t threads = 8;
    /// Maximum number of open connections, including those that wait for a thread.
    std::size_t connectionsMax = 64;
    /// Maximum number of open connections of one address; of all peers of a Unix socket, which have
    /// none.
    std::size_t connectionsPerAddressMax = 64;
};

/// Accepts callers at an address and answers one request per connection. While callers wait for a
/// thread, connections that have a thread but have not completed their request within `patience`
/// are cut off, so that silent callers block no others.
class HttpListener {
  public:
    /// Makes a connection of an accepted socket. May throw; the caller is then refused.
    using Open =
        std::function<std::shared_ptr<Connection>(util::Descriptor, const ConnectionLimits&)>;

    /// Start to listen. Throws std::runtime_error with a one-sentence text when that fails. `name`
    /// is that of the thread.
    HttpListener(const std::string& name, const admin::Address& address, const AdminLimits& limits,
                 Open open, admin::Registry& registry, HttpAnswers::Rules rules);
    /// Accept no more callers, cut off those that have not completed their request, and wait for
    /// answers in progress.
    ~HttpListener();
    HttpListener(const HttpListener&) = delete;
    HttpListener& operator=(const HttpListener&) = delete;

  private:
    using ConnectionPtr = std::shared_ptr<Connection>;

    void acceptCallers();
    void take(util::Descriptor caller) KELP_EXCLUDES(mutex_);
    bool hasRoomFor(const Connection& caller) const KELP_REQUIRES(mutex_);
    void serve(const ConnectionPtr& connection) KELP_EXCLUDES(mutex_);
    /// Cut off silent callers if callers wait for a thread. Return true if there are more callers
    /// than threads.
    bool makeRoom() KELP_EXCLUDES(mutex_);

    const AdminLimits limits_;
    const Open open_;
    std::optional<ListeningSocket> listener_;  ///< empty after the stop
    const util::Descriptor leaving_;           ///< eventfd that ends the acceptor
    HttpAnswers answers_;
    util::Mutex mutex_{util::LockRank::Leaf, "HttpListener::mutex_"};
    std::list<ConnectionPtr> connections_ KELP_GUARDED_BY(mutex_);  ///< oldest first
    httplib::ThreadPool workers_;
    std::thread acceptor_;
};

}  // namespace kelp::host
