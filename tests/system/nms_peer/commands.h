#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "nms_peer/peer_nms.h"

namespace kelp::test {

/// Carries out the test's commands, one line each (NmsProcess writes them).
class Commands {
  public:
    Commands(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, const std::string& factory,
             std::size_t endpoints);

    /// The answer to a line: "ok ..." or "failed ...".
    std::string answer(const std::string& line);

  private:
    std::string carryOut(const std::string& line);
    /// Connects the NMS to the event channel; it takes so long for each event.
    void follow(int number, std::chrono::milliseconds pause);
    /// The same by the channel's reference at some address, which its other objects are called at,
    /// too.
    void followAt(int number, const std::string& host, std::uint16_t port,
                  const std::string& channel);
    /// The session's event channel, called at that address.
    std::string channelAt(int number, const std::string& host, std::uint16_t port);
    Follower::Result followed(int number);
    void logInAll(int count, const std::string& user, const std::string& password);
    PeerNms& nms(int number);
    CountingListener::Counts allCounts();

    CORBA::ORB_var orb_;
    PortableServer::POA_var poa_;
    emsSessionFactory::EmsSessionFactory_I_var factory_;
    std::size_t endpoints_;
    std::mutex mutex_;
    std::map<int, std::unique_ptr<PeerNms>> all_;  ///< guarded by mutex_
};

}  // namespace kelp::test
