#include "screen/follow_on_screen.h"

#include <kelp/util/trace_log.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string_view>
#include <thread>

#include "alarms/run_follower.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "events/open_link.h"
#include "screen/ack_worker.h"
#include "screen/curses_terminal.h"
#include "screen/shared_screen.h"
#include "text/terminal.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

/// How often the terminal looks for a new frame.
constexpr std::chrono::milliseconds kFrameInterval{100};

/// Follows the alarms on a separate thread.
class FollowerThread {
  public:
    template <class Run>
    explicit FollowerThread(Run run)
        : thread_([this, run] {
              try {
                  run();
              } catch (...) {
                  failure_ = std::current_exception();
              }
              hasEnded_ = true;
          }) {}
    ~FollowerThread() {
        if (thread_.joinable())
            thread_.join();
    }
    FollowerThread(const FollowerThread&) = delete;
    FollowerThread& operator=(const FollowerThread&) = delete;

    bool hasEnded() const { return hasEnded_; }
    /// What ended the following; null if nothing failed.
    std::exception_ptr failure() {
        thread_.join();
        return failure_;
    }

  private:
    std::atomic<bool> hasEnded_{false};
    std::exception_ptr failure_;
    std::thread thread_;
};

void perform(const AlarmScreen::Wish& wish, AckWorker& worker, SharedScreen& screen) {
    using WishKind = AlarmScreen::Wish::Kind;
    if (wish.kind != WishKind::Quit)
        return worker.acknowledge(wish.alarm, wish.kind == WishKind::Acknowledge);
    screen.say("logging out", false);
    ::kill(::getpid(), SIGINT);  // the same way out as Ctrl-C, with its time limit
}

void showUntil(const FollowerThread& follower, CursesTerminal& terminal, SharedScreen& screen,
               AckWorker& worker) {
    while (!follower.hasEnded()) {
        if (const auto frame = screen.newFrame(terminal.width(), terminal.height()))
            terminal.draw(*frame);
        const auto key = terminal.key(kFrameInterval);
        if (!key)
            continue;
        if (const auto wish = screen.pressed(*key))
            perform(*wish, worker, screen);
    }
}

std::exception_ptr showScreen(const CommandContext& context, const AlarmsOptions& options) {
    const auto signals = std::make_shared<FollowSignals>();
    const auto screen = std::make_shared<SharedScreen>(
        AlarmScreen(options.filter, "kelpnms alarms  " + util::escaped(context.options.user)));
    const Handling handling(context.interrupts, endOnInterrupt(signals), CursesTerminal::restore);
    CursesTerminal terminal(mayBeColoured(STDOUT_FILENO));
    AckWorker worker(
        [screen](const std::string& sentence, bool isAlert) { screen->say(sentence, isAlert); });
    FollowerThread follower([&] {
        runFollower(context, options, screen, signals,
                    [&worker](emsMgr::EMSMgr_I_ptr manager) { worker.managerIs(manager); });
    });
    showUntil(follower, terminal, *screen, worker);
    return follower.failure();
}

}  // namespace

bool canShowScreen() {
    const char* const term = std::getenv("TERM");
    return ::isatty(STDIN_FILENO) != 0 && ::isatty(STDOUT_FILENO) != 0 && term != nullptr &&
           *term != '\0' && std::string_view(term) != "dumb";
}

int followOnScreen(const CommandContext& context, const AlarmsOptions& options) {
    // what failed is reported when the terminal is as it was
    if (const std::exception_ptr failure = showScreen(context, options)) {
        try {
            std::rethrow_exception(failure);
        } catch (const NoSuchManager& lack) {
            Report::error(lack.what());
            return kNoSuchManager;
        }
    }
    return kDone;
}

}  // namespace kelp::nms
