#pragma once

#include <kelp/orb/request.h>

#include <memory>
#include <string>
#include <string_view>

namespace kelp::orb {

/// What a transport told of one request. Records are used again and again, so that a request costs
/// no allocation, and a connection's peer and the target that it calls again and again are parsed
/// once.
class RequestRecord final : public RequestInfo {
  public:
    /// Where a request goes; views of the transport's own memory.
    struct Target {
        std::string_view topPoaName;
        std::string_view childPoaName;
        std::string_view objectId;
    };

    /// What an object key says.
    using ReadKey = Target (*)(std::string_view objectKey);

    /// Whom a connection leads to.
    struct Peer {
        Peer(const char* itsText = nullptr, std::string_view itsSubject = {})
            : text(itsText), subject(itsSubject) {}
        const char* text;          ///< as the transport has it; null counts as empty
        std::string_view subject;  ///< RequestInfo::peerSubject()
    };

    /// A request that arrives now. A null operation counts as empty.
    void assign(const char* operation, const Peer& peer, const Target& target);
    /// The same for the target of a key. The key is read only if the record's last request had
    /// another.
    void assign(const char* operation, const Peer& peer, std::string_view objectKey, ReadKey read);

    char* operation() const override;
    const std::string& operationName() const override { return operation_; }
    const PeerAddress& peer() const override { return peer_; }
    const std::string& peerSubject() const override { return peerSubject_; }
    const std::string& topPoaName() const override { return topPoaName_; }
    const std::string& childPoaName() const override { return childPoaName_; }
    const std::string& objectId() const override { return objectId_; }
    std::chrono::system_clock::time_point arrived() const override { return arrived_; }
    std::chrono::microseconds age() const override;

  private:
    void arrive(const char* operation, const Peer& peer);
    void setTarget(const Target& target);

    std::string operation_;
    std::string peerText_;
    PeerAddress peer_;  ///< peerText_ parsed
    std::string peerSubject_;
    std::string objectKey_;  ///< whose target the next three are; empty if they are of no key
    std::string topPoaName_;
    std::string childPoaName_;
    std::string objectId_;
    std::chrono::system_clock::time_point arrived_;
    std::chrono::steady_clock::time_point arrivedSteady_;
};

/// The calling thread's requests: one that has arrived and waits for its servant, and those whose
/// servants run (more than one only where an ORB serves other requests while a servant waits for a
/// reply).
class ThreadRequests {
  public:
    static ThreadRequests& ofThisThread();

    /// A request has arrived; whatever arrived before it and never reached a servant is forgotten.
    RequestRecord& arrive();
    /// The request that arrived is answered without its servant.
    void drop();
    bool hasArrived() const { return arrived_ != nullptr; }
    /// The request that arrived and has not reached its servant; may be null.
    const RequestInfo* waiting() const { return arrived_.get(); }
    /// The request to be shown as the thread's current one; may be null.
    const RequestInfo* current() const;

    /// The servant of the request that arrived runs for the length of this scope.
    class Serving {
      public:
        explicit Serving(ThreadRequests& requests);
        ~Serving();
        Serving(const Serving&) = delete;
        Serving& operator=(const Serving&) = delete;
        const RequestRecord& request() const { return *mine_; }

      private:
        ThreadRequests& requests_;
        std::unique_ptr<RequestRecord> mine_;
        const RequestRecord* before_;
    };

  private:
    std::unique_ptr<RequestRecord> arrived_;
    std::unique_ptr<RequestRecord> spare_;  // saves an allocation a request
    const RequestRecord* served_ = nullptr;
};

}  // namespace kelp::orb
