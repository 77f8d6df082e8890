#pragma once

#include <kelp/orb/request.h>

#include <memory>
#include <string>
#include <string_view>

namespace kelp::orb {

/// What a transport reports about one request. Records are reused, so that a request costs no
/// allocation. A peer or target that is the same as in the record's last request is not parsed
/// again.
class RequestRecord final : public RequestInfo {
  public:
    /// The target of a request, as views of the transport's memory.
    struct Target {
        std::string_view topPoaName;
        std::string_view childPoaName;
        std::string_view objectId;
    };

    /// Reads the target from an object key.
    using ReadKey = Target (*)(std::string_view objectKey);

    /// The peer of a connection.
    struct Peer {
        Peer(const char* itsText = nullptr, std::string_view itsSubject = {})
            : text(itsText), subject(itsSubject) {}
        const char* text;          ///< as the transport writes it; null counts as empty
        std::string_view subject;  ///< RequestInfo::peerSubject()
    };

    /// Fill the record with a request that arrives now. A null operation counts as empty.
    void assign(const char* operation, const Peer& peer, const Target& target);
    /// The same for a target that is given by its key. The key is read only if the record's last
    /// request had another.
    void assign(const char* operation, const Peer& peer, std::string_view objectKey, ReadKey read);

    char* operation() const override;
    const std::string& operationName() const override { return operation_; }
    const util::PeerAddress& peer() const override { return peer_; }
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
    util::PeerAddress peer_;  ///< peerText_ parsed
    std::string peerSubject_;
    /// The key from which the next three members were read. Empty if they are not from a key.
    std::string objectKey_;
    std::string topPoaName_;
    std::string childPoaName_;
    std::string objectId_;
    std::chrono::system_clock::time_point arrived_;
    std::chrono::steady_clock::time_point arrivedSteady_;
};

/// The requests of the calling thread: one that has arrived and waits for its servant, and those
/// whose servants run. More than one servant runs only with an ORB that serves other requests while
/// a servant waits for a reply.
class ThreadRequests {
  public:
    static ThreadRequests& ofThisThread();

    /// Start the record of a request that has arrived. An earlier one that never reached a servant
    /// is forgotten.
    RequestRecord& arrive();
    /// Forget the request that arrived, because it was answered without its servant.
    void drop();
    bool hasArrived() const { return arrived_ != nullptr; }
    /// Return the request that arrived and has not reached its servant; may be null.
    const RequestInfo* waiting() const { return arrived_.get(); }
    /// Return the request to show as the thread's current one: the one that waits, or else the one
    /// whose servant runs. May be null.
    const RequestInfo* current() const;

    /// The servant of the request that arrived runs while this scope lasts.
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
    std::unique_ptr<RequestRecord> spare_;  // saves an allocation per request
    const RequestRecord* served_ = nullptr;
};

}  // namespace kelp::orb
