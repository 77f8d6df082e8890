#include <kelp/orb/awaited_pushes.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/mutex.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "omniorb/calls/begun_call.h"
#include "omniorb/calls/push_calls.h"
#include "trace.h"

namespace kelp::orb {

namespace {

using std::chrono::milliseconds;
using util::MutexLock;
using Clock = SocketLine::Clock;

/// Ends that one thread takes at a time. The others are left to other threads.
constexpr std::size_t kEventsAtOnce = 16;
/// The number of a line is never this one.
constexpr std::uint64_t kWake = 0;

/// The time between checks of the deadlines: a tenth of the limit, from 5 to 100 ms.
milliseconds checkPauseFor(milliseconds limit) {
    return std::clamp(limit / 10, milliseconds(5), milliseconds(100));
}

/// A push whose request is being sent or has been sent.
class SentPush final : public EndedPush {
  public:
    SentPush(std::unique_ptr<BegunCall> call, std::shared_ptr<PushWaiter> waiter)
        : call_(std::move(call)), waiter_(std::move(waiter)) {}

    bool send(milliseconds limit) { return call_->send(limit); }
    void tell() noexcept { waiter_->ended(*this); }
    const std::shared_ptr<SocketLine>& line() const { return call_->line(); }

    End end() override {
        return call_->receive() == BegunCall::End::Returned ? End::Accepted : End::Undecided;
    }

  private:
    const std::unique_ptr<BegunCall> call_;
    const std::shared_ptr<PushWaiter> waiter_;
};

/// Watches the sockets with one epoll for all threads. A line is added once, edge-triggered, so a
/// push needs no call for the watching.
class PolledPushes final : public AwaitedPushes {
  public:
    PolledPushes(util::Descriptor poll, util::Descriptor wake)
        : poll_(std::move(poll)), wake_(std::move(wake)) {}

    bool push(CosNotifyComm::StructuredPushConsumer_ptr consumer, const SharedEvent& event,
              milliseconds limit, std::shared_ptr<PushWaiter> waiter) override {
        return send(BegunCall::prepare(consumer, std::make_unique<StructuredPush>(event)), limit,
                    std::move(waiter));
    }
    bool push(CosNotifyComm::SequencePushConsumer_ptr consumer,
              std::span<const SharedEvent* const> events, milliseconds limit,
              std::shared_ptr<PushWaiter> waiter) override {
        return send(BegunCall::prepare(consumer, std::make_unique<SequencePush>(events)), limit,
                    std::move(waiter));
    }
    bool wait(std::optional<Clock::time_point> until) override;
    void wake() override {
        const std::uint64_t one = 1;
        // never read: each write is a new edge
        (void)!::write(wake_.get(), &one, sizeof one);
    }
    std::size_t awaited() const override { return awaited_; }

  private:
    /// A line and the push that is awaited over it, if any.
    struct Watched {
        std::shared_ptr<SocketLine> line;
        std::unique_ptr<SentPush> push;
    };
    using Lines = std::unordered_map<std::uint64_t, Watched>;
    using Ready = std::vector<std::pair<std::uint64_t, std::shared_ptr<SocketLine>>>;

    bool send(std::unique_ptr<BegunCall> call, milliseconds limit,
              std::shared_ptr<PushWaiter> waiter);
    /// Watch the line if it is not yet watched, and note the push. Returns the line's number, or 0
    /// if the system refuses.
    std::uint64_t enter(std::unique_ptr<SentPush> push) KELP_EXCLUDES(mutex_);
    std::uint64_t watch(const std::shared_ptr<SocketLine>& line) KELP_REQUIRES(mutex_);
    std::unique_ptr<SentPush> leave(std::uint64_t number) KELP_EXCLUDES(mutex_);
    void proceed(const Ready& ready, Clock::time_point now);
    int timeoutFor(std::optional<Clock::time_point> until) const;
    void checkDeadlines(Clock::time_point now) KELP_EXCLUDES(mutex_);
    void forgetClosed() KELP_REQUIRES(mutex_);

    const util::Descriptor poll_;
    const util::Descriptor wake_;
    std::atomic<std::size_t> awaited_{0};
    std::atomic<milliseconds::rep> checkPause_{checkPauseFor(milliseconds::max()).count()};
    std::atomic<Clock::time_point> nextCheck_{Clock::time_point{}};
    util::Mutex mutex_{util::LockRank::Leaf, "PolledPushes::mutex_"};
    Lines lines_ KELP_GUARDED_BY(mutex_);
    std::unordered_map<const SocketLine*, std::uint64_t> numbers_ KELP_GUARDED_BY(mutex_);
    std::uint64_t lastNumber_ KELP_GUARDED_BY(mutex_) = kWake;
    std::size_t forgetAt_ KELP_GUARDED_BY(mutex_) = 64;
};

bool PolledPushes::send(std::unique_ptr<BegunCall> call, milliseconds limit,
                        std::shared_ptr<PushWaiter> waiter) {
    if (!call)
        return false;
    auto made = std::make_unique<SentPush>(std::move(call), std::move(waiter));
    SentPush& push = *made;
    checkPause_ = checkPauseFor(limit).count();
    // entered first: the reply may be there before send() returns
    const std::uint64_t number = enter(std::move(made));
    if (number == kWake)
        return false;
    try {
        if (push.send(limit))
            return true;
    } catch (...) {
        leave(number);
        throw;
    }
    leave(number);
    return false;
}

std::uint64_t PolledPushes::enter(std::unique_ptr<SentPush> push) {
    const MutexLock lock(mutex_);
    const std::uint64_t number = watch(push->line());
    if (number == kWake)
        return kWake;
    lines_[number].push = std::move(push);
    ++awaited_;
    return number;
}

std::uint64_t PolledPushes::watch(const std::shared_ptr<SocketLine>& line) {
    if (const auto known = numbers_.find(line.get()); known != numbers_.end())
        return known->second;
    if (lines_.size() >= forgetAt_)
        forgetClosed();
    const std::uint64_t number = lastNumber_ + 1;
    lines_.emplace(number, Watched{line, nullptr});
    numbers_.emplace(line.get(), number);
    const bool isWatched = line->withDescriptor([&](int descriptor) {
        epoll_event wanted{};
        wanted.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
        wanted.data.u64 = number;
        return ::epoll_ctl(poll_.get(), EPOLL_CTL_ADD, descriptor, &wanted) == 0;
    });
    lastNumber_ = number;
    if (isWatched)
        return number;
    lines_.erase(number);
    numbers_.erase(line.get());
    return kWake;
}

std::unique_ptr<SentPush> PolledPushes::leave(std::uint64_t number) {
    const MutexLock lock(mutex_);
    --awaited_;
    return std::move(lines_.at(number).push);
}

void PolledPushes::forgetClosed() {
    std::erase_if(lines_, [this](const auto& each) {
        const bool isOver = !each.second.push && each.second.line->isClosed();
        if (isOver)
            numbers_.erase(each.second.line.get());
        return isOver;
    });
    forgetAt_ = 2 * lines_.size() + 64;
}

int PolledPushes::timeoutFor(std::optional<Clock::time_point> until) const {
    milliseconds longest = milliseconds::max();
    if (until)
        longest = std::max(std::chrono::ceil<milliseconds>(*until - Clock::now()), milliseconds(0));
    if (awaited_ > 0)
        longest = std::min(longest, milliseconds(checkPause_.load()));
    if (longest == milliseconds::max())
        return -1;
    return static_cast<int>(std::min<milliseconds::rep>(longest.count(), INT_MAX));
}

bool PolledPushes::wait(std::optional<Clock::time_point> until) {
    std::array<epoll_event, kEventsAtOnce> events;
    const int count = ::epoll_wait(poll_.get(), events.data(), static_cast<int>(events.size()),
                                   timeoutFor(until));
    bool wasWoken = false;
    Ready ready;
    if (count > 0) {
        const MutexLock lock(mutex_);
        for (int i = 0; i < count; ++i) {
            const std::uint64_t number = events[static_cast<std::size_t>(i)].data.u64;
            wasWoken = wasWoken || number == kWake;
            const auto line = lines_.find(number);
            if (line != lines_.end() && line->second.push)
                ready.emplace_back(number, line->second.line);
        }
    }
    const Clock::time_point now = Clock::now();
    proceed(ready, now);
    checkDeadlines(now);
    return wasWoken;
}

void PolledPushes::proceed(const Ready& ready, Clock::time_point now) {
    for (const auto& [number, line] : ready)
        if (line->proceed(now))
            if (const std::unique_ptr<SentPush> push = leave(number))
                push->tell();
}

void PolledPushes::checkDeadlines(Clock::time_point now) {
    Clock::time_point next = nextCheck_;
    if (now < next || awaited_ == 0 ||
        !nextCheck_.compare_exchange_strong(next, now + milliseconds(checkPause_.load())))
        return;
    Ready waiting;
    {
        const MutexLock lock(mutex_);
        for (const auto& [number, each] : lines_)
            if (each.push)
                waiting.emplace_back(number, each.line);
    }
    proceed(waiting, now);
}

}  // namespace

std::unique_ptr<AwaitedPushes> makeAwaitedPushes() {
    util::Descriptor poll(::epoll_create1(EPOLL_CLOEXEC));
    util::Descriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    epoll_event wanted{};
    wanted.events = EPOLLIN | EPOLLET;
    wanted.data.u64 = kWake;
    if (!poll.isOpen() || !wake.isOpen() ||
        ::epoll_ctl(poll.get(), EPOLL_CTL_ADD, wake.get(), &wanted) != 0) {
        traceException(std::string("pushes wait one by one, each on its own thread: ") +
                       std::strerror(errno));
        return nullptr;
    }
    return std::make_unique<PolledPushes>(std::move(poll), std::move(wake));
}

}  // namespace kelp::orb
