#pragma once

#include "naming_settings.h"

#include <sys/types.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

namespace kelp::host {

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
    /// Starts the service again with these settings when its files hold something else than they did at its
    /// last start. After start(), from any thread; not once it is being stopped. False, with the reason, when
    /// it goes on as it is.
    bool renewTls(const NamingTls& tls, std::string& whyNot);
    /// Ends the service. Harmless when it does not run.
    void stop();

    /// The running child, or -1 while there is none. Callable from any thread.
    pid_t pid() const;
    /// Where the child writes what it has to say.
    std::filesystem::path logFile() const;

  private:
    bool prepare(std::string& whyNot);
    std::filesystem::path optionsFile() const;
    bool answers() const;
    void supervise();
    pid_t spawn(std::string& whyNot);
    std::string waitForEnd(pid_t child);
    bool awaitAnswer(std::string& whyNot);
    void endChild();

    NamingSettings settings_;  ///< `tls` is guarded by mutex_ once the service has started
    std::filesystem::path program_;
    std::thread thread_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    // guarded by mutex_
    pid_t child_ = -1;
    bool answered_ = false;  ///< the first start has succeeded
    bool stopping_ = false;
    bool isRenewed_ = false;      ///< the child was told to end, for another to take its place
    std::string tlsFingerprint_;  ///< of what the TLS files held when the child was started
    bool finished_ = false;       ///< the thread has no child and will make none
    std::string firstEnd_;        ///< how the first start failed, in words
};

}  // namespace kelp::host
