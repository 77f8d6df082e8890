#pragma once

#include <httplib.h>
#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>
#include <kelp/util/descriptor.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "access_token.h"
#include "connection.h"
#include "http_answers.h"
#include "listening_socket.h"
#include "state_claim.h"

namespace kelp::host {

/// What the operator's interface may cost.
struct AdminLimits {
    /// A thousand alarms with all their fields fit in.
    std::size_t bodyBytesMax = 1u << 20;
    std::size_t headBytesMax = 64u << 10;
    /// A caller on the same machine needs milliseconds.
    std::chrono::milliseconds readTime{5000};
    std::chrono::milliseconds writeTime{5000};
    /// Time for a request while others wait for a thread.
    std::chrono::milliseconds patience{1000};
    /// Requests answered at the same time.
    std::size_t threads = 8;
    /// Connections at the same time, those included that wait for a thread.
    std::size_t connectionsMax = 64;
};

/// The operator's interface: serves what is in the registry as JSON over HTTP, one request a
/// connection. While callers wait for a thread, those who have one and owe their request for longer
/// than `patience` are cut off, so that silent ones hold up nobody.
class AdminServer {
  public:
    /// Listens from here on. Throws std::runtime_error with one sentence when it cannot, or when
    /// another host does.
    explicit AdminServer(const admin::Address& address, const AdminLimits& limits = {},
                         admin::Registry& registry = admin::Registry::instance());
    /// Takes no more callers, cuts off those who owe their request, and waits for answers that are
    /// being made.
    ~AdminServer();
    AdminServer(const AdminServer&) = delete;
    AdminServer& operator=(const AdminServer&) = delete;

  private:
    using ConnectionPtr = std::shared_ptr<Connection>;

    void acceptCallers();
    void take(util::Descriptor caller);
    void serve(const ConnectionPtr& connection);
    /// True while more callers are there than threads.
    bool makeRoom();
    bool letsIn(const std::string& authorization) const;

    const AdminLimits limits_;
    const StateClaim claim_;
    const std::optional<AccessToken> token_;
    std::optional<ListeningSocket> listener_;  ///< until the stop
    const util::Descriptor leaving_;           ///< eventfd that ends the acceptor
    HttpAnswers answers_;
    std::mutex mutex_;
    std::list<ConnectionPtr> connections_;  ///< guarded by mutex_; oldest first
    httplib::ThreadPool workers_;
    std::thread acceptor_;
};

}  // namespace kelp::host
