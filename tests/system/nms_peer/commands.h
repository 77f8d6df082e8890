#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "nms_peer/peer_nms.h"

namespace kelp::test {

/// Carries out the test's commands, one a line. NmsProcess writes them.
class Commands {
  public:
    Commands(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, const std::string& factory,
             std::size_t endpoints);

    /// Carry out a line. Return its answer: "ok ..." or "failed ...".
    std::string answer(const std::string& line);

  private:
    std::string carryOut(const std::string& line);
    /// Connect the NMS to the event channel. It spends `pause` on each event.
    void follow(int number, std::chrono::milliseconds pause);
    /// Connect with the channel's reference at some address. All objects of the channel are called
    /// at that address.
    void followAt(int number, const std::string& host, std::uint16_t port,
                  const std::string& channel);
    /// Return the reference of the session's event channel with its address replaced by this one.
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
