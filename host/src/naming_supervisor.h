#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

namespace kelp::host {

/// How the embedded naming service is run.
struct NamingSettings {
    std::string host = "127.0.0.1";
    std::uint16_t port = 4801;
    /// Where it keeps its bindings and its log; made when missing.
    std::filesystem::path dataDirectory;
    std::string program = "omniNames";
    /// How long the first start may take until it answers.
    std::chrono::milliseconds answerLimit = std::chrono::seconds(10);
    /// Pause before a restart; doubled each time up to the longest, and short again once it has run that
    /// long.
    std::chrono::milliseconds firstPause = std::chrono::milliseconds(250);
    std::chrono::milliseconds longestPause = std::chrono::seconds(30);
    /// How long it may take to end when asked to.
    std::chrono::milliseconds stopLimit = std::chrono::seconds(3);
};

/// The naming service as a child process: started, watched, started again when it dies, stopped; it never
/// outlives this process. What happens to it is traced. The operations are for one thread at a time.
class NamingSupervisor {
  public:
    explicit NamingSupervisor(NamingSettings settings);
    /// Stops it.
    ~NamingSupervisor();
    NamingSupervisor(const NamingSupervisor&) = delete;
    NamingSupervisor& operator=(const NamingSupervisor&) = delete;

    /// Starts the service and waits until it answers. False, with one clear sentence, when it does not, and
    /// then nothing is left running.
    bool start(std::string& whyNot);
    /// Ends the service. Harmless when it does not run.
    void stop();

    /// The running child, or -1 while there is none. Callable from any thread.
    pid_t pid() const;
    /// Where the child writes what it has to say.
    std::filesystem::path logFile() const;

  private:
    bool prepare(std::string& whyNot);
    void supervise();
    pid_t spawn(std::string& whyNot);
    std::string waitForEnd(pid_t child);
    bool awaitAnswer(std::string& whyNot);
    void endChild();

    const NamingSettings settings_;
    std::filesystem::path program_;
    std::thread thread_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    // guarded by mutex_
    pid_t child_ = -1;
    bool answered_ = false;  ///< the first start has succeeded
    bool stopping_ = false;
    bool finished_ = false;  ///< the thread has no child and will make none
    std::string firstEnd_;   ///< how the first start failed, in words
};

}  // namespace kelp::host
