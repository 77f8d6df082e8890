#pragma once

#include <string>
#include <vector>

#include "harness/child_process.h"

namespace kelp::test {

class Host;

/// The calls of the EMS on one NMS so far.
struct CallbackCounts {
    int pings = 0;
    int ended = 0;
    int losses = 0;
    int cleared = 0;
    std::string loss;  ///< arguments of the last event-loss report: "startTime notificationId"
    std::string end;   ///< argument of the last report of the end of a loss
};

/// Results of an NMS that calls the EMS continuously.
struct ChatterResult {
    int calls = 0;
    int failures = 0;
    int slowestMs = 0;
};

/// Events received by one NMS. The notification ids of an alarm storm increase by one.
struct FollowedEvents {
    int events = 0;    ///< different events
    int repeated = 0;  ///< events received again, directly after each other
    int late = 0;      ///< events received after a newer one
    int missing = 0;
    std::uint64_t lastId = 0;
};

/// A process that contains one or more test NMS, each with a separate log-in. It takes commands,
/// one a line. An NMS is identified by a number. Its session object is reached at one of the
/// process's ports: `number` modulo the number of ports. In a process with two ports, NMS 0 and NMS
/// 1 are therefore different NMS; in a process with one port they are the same NMS. Operations
/// throw std::runtime_error if the process does not answer or reports a failure.
class NmsProcess {
  public:
    /// Listen on this number of free ports.
    explicit NmsProcess(const Host& host, int ports = 1);
    /// Listen on this port.
    NmsProcess(const Host& host, std::uint16_t port);
    /// Find the session factory by this reference.
    NmsProcess(const Host& host, const std::string& factoryReference);

    void logIn(int nms, const std::string& user);
    /// Return "" on success, otherwise the reason for the failure.
    std::string tryLogIn(int nms, const std::string& user, const std::string& password);
    /// Log in with an object other than the NMS's own as its session object.
    void logInWith(int nms, const std::string& user, const std::string& nmsReference);
    /// Log in the NMS 0 to count - 1, several at a time.
    void logInAll(int count, const std::string& user);
    void endAll();

    void ping(int nms);
    std::vector<std::string> managers(int nms);
    /// The user label of the EMS, read from the manager EMS.
    std::string emsLabel(int nms);
    void end(int nms);
    /// Whether the EMS still knows the session object.
    bool hasSession(int nms);
    /// The references of the EMS's session object and of the NMS's session object as text, and
    /// whether the EMS still knows a session by its reference.
    std::string sessionReference(int nms);
    std::string ownReference(int nms);
    bool knowsSession(const std::string& reference);

    CallbackCounts counts(int nms);
    /// Return the sum over all NMS of the process.
    CallbackCounts allCounts();
    /// Return how many NMS of the process have received endSession exactly once.
    int endedOnce();
    /// Hold the EMS's calls to the NMS's object until called with false. The NMS's calls to the EMS
    /// continue.
    void holdCallbacks(int nms, bool hold);

    /// Return the intervals so far between the calls of the EMS's rounds: a ping or, instead of it,
    /// the report of an event loss.
    std::vector<std::chrono::milliseconds> roundGaps(int nms);

    /// Call the EMS continuously until stopChatter: two calls, then a pause.
    void startChatter(int nms, std::chrono::milliseconds pause = std::chrono::milliseconds(10));
    ChatterResult chatter(int nms);
    ChatterResult stopChatter(int nms);
    /// Return the duration of each pair of calls since the last query.
    std::vector<std::chrono::microseconds> takeLatencies(int nms);

    /// Connect the NMS to the event channel. It spends `pause` on each event.
    void follow(int nms, std::chrono::milliseconds pause = std::chrono::milliseconds(0));
    /// channelAt returns the reference of the NMS's event channel with its address replaced by
    /// "host port". followAt connects to the channel with such a reference and calls all its
    /// objects at that address. followAt needs no log-in in this process.
    std::string channelAt(int nms, const std::string& hostAndPort);
    void followAt(int nms, const std::string& hostAndPort, const std::string& channel);
    FollowedEvents followed(int nms);
    void unfollow(int nms);
    /// Connect to the event channel and disconnect, once a second, until the process ends.
    void beRestless(int nms);

    /// Send any other command line and return the answer.
    std::string ask(const std::string& line);

    ChildProcess& process() { return process_; }

  private:
    NmsProcess(const Host& host, const std::string& factoryReference,
               const std::vector<std::string>& ports);
    std::string readLine(std::chrono::milliseconds deadline);
    template <class Duration>
    std::vector<Duration> askForTimes(const std::string& command, int nms);

    ChildProcess process_;
    std::string unread_;
};

}  // namespace kelp::test
