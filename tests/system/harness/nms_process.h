#pragma once

#include <string>
#include <vector>

#include "harness/child_process.h"

namespace kelp::test {

class Host;

/// What the EMS has called on one NMS so far.
struct CallbackCounts {
    int pings = 0;
    int ended = 0;
    int losses = 0;
    int cleared = 0;
    std::string loss;  ///< arguments of the last report of a loss, "startTime notificationId"
    std::string end;   ///< argument of the last report of its end
};

/// How the calls of an NMS that calls all the time went.
struct ChatterResult {
    int calls = 0;
    int failures = 0;
    int slowestMs = 0;
};

/// The events that came to one NMS; the alarms of a storm have notification ids that grow by one.
struct FollowedEvents {
    int events = 0;    ///< different ones
    int repeated = 0;  ///< came again, one after the other
    int late = 0;      ///< came after a newer one
    int missing = 0;
    std::uint64_t lastId = 0;
};

/// A process with one or more NMS of a test in it, each with a log-in of its own, told what to do
/// line by line. An NMS is known by a number. Its own session object is reached at one of the
/// process's ports, `number` modulo the number of ports, so NMS 0 and NMS 1 of a process with two
/// ports are different NMS and of a process with one port are the same one. Operations throw
/// std::runtime_error when the process does not answer or answers that it failed.
class NmsProcess {
  public:
    /// Listens on so many free ports.
    explicit NmsProcess(const Host& host, int ports = 1);
    /// Listens on this one.
    NmsProcess(const Host& host, std::uint16_t port);
    /// Finds the session factory by this reference instead.
    NmsProcess(const Host& host, const std::string& factoryReference);

    void logIn(int nms, const std::string& user);
    /// "" when it went well, else why not.
    std::string tryLogIn(int nms, const std::string& user, const std::string& password);
    /// Logs in with another object than its own as the NMS's session object.
    void logInWith(int nms, const std::string& user, const std::string& nmsReference);
    /// Logs in the NMS 0 to count-1, several at a time.
    void logInAll(int count, const std::string& user);
    void endAll();

    void ping(int nms);
    std::vector<std::string> managers(int nms);
    /// The EMS's user label as the manager EMS tells it.
    std::string emsLabel(int nms);
    void end(int nms);
    /// Whether the EMS still knows the session object.
    bool hasSession(int nms);
    /// The references of the EMS's session object and of the NMS's own, as text; and whether the
    /// EMS still knows a session by its reference.
    std::string sessionReference(int nms);
    std::string ownReference(int nms);
    bool knowsSession(const std::string& reference);

    CallbackCounts counts(int nms);
    /// Sum over all NMS of the process.
    CallbackCounts allCounts();
    /// How many NMS of the process have been told endSession exactly once.
    int endedOnce();
    /// The EMS's calls to the NMS's object wait, until told otherwise, while its own calls go on.
    void holdCallbacks(int nms, bool hold);

    /// The times between one of the EMS's pings and the next so far.
    std::vector<std::chrono::milliseconds> pingGaps(int nms);

    /// Calls the EMS all the time until stopChatter: two calls, a pause, and so on.
    void startChatter(int nms, std::chrono::milliseconds pause = std::chrono::milliseconds(10));
    ChatterResult chatter(int nms);
    ChatterResult stopChatter(int nms);
    /// How long each pair of its calls took since this was last asked.
    std::vector<std::chrono::microseconds> takeLatencies(int nms);

    /// Connects the NMS to the event channel; it takes so long for each event.
    void follow(int nms, std::chrono::milliseconds pause = std::chrono::milliseconds(0));
    /// The reference of the NMS's event channel as it is called at another address, "host port";
    /// and a connection to the channel with this reference, all of whose objects are called at that
    /// address. The second needs no log-in here.
    std::string channelAt(int nms, const std::string& hostAndPort);
    void followAt(int nms, const std::string& hostAndPort, const std::string& channel);
    FollowedEvents followed(int nms);
    void unfollow(int nms);
    /// Connects to the event channel and disconnects, once a second, until the process ends.
    void beRestless(int nms);

    /// The answer to a command line of any other kind.
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
