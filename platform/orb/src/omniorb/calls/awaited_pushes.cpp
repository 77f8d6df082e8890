#include <kelp/orb/awaited_pushes.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/mutex.h>
#include <sched.h>
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
/// How long to look for replies before sleeping.
constexpr std::chrono::microseconds kLookingTime{100};
/// The number of a line is never this one.
constexpr std::uint64_t kWake = 0;

/// The time between checks of the deadlines: a tenth of the limit, from 5 to 100 ms.
milliseconds checkPauseFor(milliseconds limit) {
    return std::clamp(limit / 10, milliseconds(5), milliseconds(100));
}

/// A number that no other set of pushes has.
std::uint64_t nextNumber() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

/// A push whose request is being sent or has been sent.
class SentPush : public EndedPush, public SocketLine::Awaited {
  public:
    /// Counts itself in `count`.
    SentPush(std::shared_ptr<PushWaiter> waiter, std::atomic<std::size_t>& count)
        : waiter_(std::move(waiter)), count_(count) {
        ++count_;
    }
    ~SentPush() override { --count_; }
    SentPush(const SentPush&) = delete;
    SentPush& operator=(const SentPush&) = delete;

    virtual BegunCall& call() = 0;
    void tell() noexcept { waiter_->ended(*this); }

    End end() override {
        return call().receive() == BegunCall::End::Returned ? End::Accepted : End::Undecided;
    }

  private:
    const std::shared_ptr<PushWaiter> waiter_;
    std::atomic<std::size_t>& count_;
};

template <class Description>
class PushOf final : public SentPush {
  public:
    template <class Events>
    PushOf(const Events& events, std::shared_ptr<PushWaiter> waiter,
           std::atomic<std::size_t>& count)
        : SentPush(std::move(waiter), count), description_(events) {}
    BegunCall& call() override { return call_; }

  private:
    Description description_;
    BegunCall call_{description_};
};

/// Watches the sockets with one epoll for all threads. A line is added once, edge-triggered, so a
/// push needs no call for the watching.
class PolledPushes final : public AwaitedPushes {
  public:
    PolledPushes(util::Descriptor poll, util::Descriptor wake)
        : poll_(std::move(poll)), wake_(std::move(wake)) {}

    bool push(CosNotifyComm::StructuredPushConsumer_ptr consumer, const SharedEvent& event,
              milliseconds limit, std::shared_ptr<PushWaiter> waiter) override {
        return send(consumer,
                    std::make_unique<PushOf<StructuredPush>>(event, std::move(waiter), awaited_),
                    limit);
    }
    bool push(CosNotifyComm::SequencePushConsumer_ptr consumer,
              std::span<const SharedEvent* const> events, milliseconds limit,
              std::shared_ptr<PushWaiter> waiter) override {
        return send(consumer,
                    std::make_unique<PushOf<SequencePush>>(events, std::move(waiter), awaited_),
                    limit);
    }
    bool wait(std::optional<Clock::time_point> until) override;
    void wake() override {
        const std::uint64_t one = 1;
        // never read: each write is a new edge
        (void)!::write(wake_.get(), &one, sizeof one);
    }
    std::size_t awaited() const override { return awaited_; }

  private:
    using Events = std::array<epoll_event, kEventsAtOnce>;
    using Lines = std::unordered_map<std::uint64_t, std::shared_ptr<SocketLine>>;

    bool send(CORBA::Object_ptr consumer, std::unique_ptr<SentPush> push, milliseconds limit);
    /// Return false if the system refuses.
    bool watch(const std::shared_ptr<SocketLine>& line) KELP_EXCLUDES(mutex_);
    /// These two return as epoll_wait() does.
    int look(Events& events);
    int sleep(Events& events, std::optional<Clock::time_point> until);
    void proceed(SocketLine& line, Clock::time_point now);
    int timeoutFor(std::optional<Clock::time_point> until) const;
    void checkDeadlines(Clock::time_point now) KELP_EXCLUDES(mutex_);
    void forgetClosed() KELP_REQUIRES(mutex_);

    /// Not the address, which may be that of a set that is gone.
    const std::uint64_t number_ = nextNumber();
    const util::Descriptor poll_;
    const util::Descriptor wake_;
    std::atomic<std::size_t> awaited_{0};
    std::atomic<bool> mayLook_{false};
    std::atomic<milliseconds::rep> checkPause_{checkPauseFor(milliseconds::max()).count()};
    std::atomic<Clock::time_point> nextCheck_{Clock::time_point{}};
    util::Mutex mutex_{util::LockRank::Leaf, "PolledPushes::mutex_"};
    Lines lines_ KELP_GUARDED_BY(mutex_);
    std::uint64_t lastNumber_ KELP_GUARDED_BY(mutex_) = kWake;
    std::size_t forgetAt_ KELP_GUARDED_BY(mutex_) = 64;
};

bool PolledPushes::send(CORBA::Object_ptr consumer, std::unique_ptr<SentPush> push,
                        milliseconds limit) {
    BegunCall& call = push->call();
    if (!call.prepare(consumer))
        return false;
    // the push may be over, and with it the call, before this function is
    const std::shared_ptr<SocketLine> line = call.line();
    if (line->watcher() != number_ && !watch(line))
        return false;
    checkPause_ = checkPauseFor(limit).count();
    std::unique_ptr<SocketLine::Awaited> awaited = std::move(push);
    try {
        line->beginAwaiting(awaited, Clock::now() + limit, [&call] { call.send(); });
        return true;
    } catch (const omni::giopStream::CommFailure&) {
        return false;
    }
}

bool PolledPushes::watch(const std::shared_ptr<SocketLine>& line) {
    const MutexLock lock(mutex_);
    if (lines_.size() >= forgetAt_)
        forgetClosed();
    const std::uint64_t number = ++lastNumber_;
    lines_.emplace(number, line);
    epoll_event wanted{};
    wanted.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
    wanted.data.u64 = number;
    const bool isAdded = ::epoll_ctl(poll_.get(), EPOLL_CTL_ADD, line->descriptor(), &wanted) == 0;
    // it is there already if another set of pushes has watched it in between
    const bool isWatched = isAdded || errno == EEXIST;
    if (!isAdded)
        lines_.erase(number);
    if (isWatched)
        line->watcher(number_);
    return isWatched;
}

void PolledPushes::forgetClosed() {
    std::erase_if(lines_, [](const auto& each) { return each.second->isClosed(); });
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
    Events events;
    int count = look(events);
    if (count == 0)
        count = sleep(events, until);
    bool wasWoken = false;
    std::array<std::shared_ptr<SocketLine>, kEventsAtOnce> ready;
    std::size_t readyCount = 0;
    if (count > 0) {
        const MutexLock lock(mutex_);
        for (int i = 0; i < count; ++i) {
            const std::uint64_t number = events[static_cast<std::size_t>(i)].data.u64;
            wasWoken = wasWoken || number == kWake;
            if (const auto line = lines_.find(number); line != lines_.end())
                ready[readyCount++] = line->second;
        }
    }
    const Clock::time_point now = Clock::now();
    for (std::size_t i = 0; i < readyCount; ++i)
        proceed(*ready[i], now);
    checkDeadlines(now);
    return wasWoken;
}

/// Look for replies a while before sleeping, if they came that soon the last time. Falling asleep
/// and being woken takes longer than such a reply. Other threads run in between.
int PolledPushes::look(Events& events) {
    if (!mayLook_ || awaited_ == 0)
        return 0;
    const Clock::time_point end = Clock::now() + kLookingTime;
    do {
        const int count =
            ::epoll_wait(poll_.get(), events.data(), static_cast<int>(events.size()), 0);
        if (count != 0)
            return count;
        ::sched_yield();
    } while (Clock::now() < end);
    mayLook_ = false;
    return 0;
}

int PolledPushes::sleep(Events& events, std::optional<Clock::time_point> until) {
    const Clock::time_point begun = Clock::now();
    const int count = ::epoll_wait(poll_.get(), events.data(), static_cast<int>(events.size()),
                                   timeoutFor(until));
    if (count > 0 && Clock::now() - begun <= kLookingTime)
        mayLook_ = true;
    return count;
}

void PolledPushes::proceed(SocketLine& line, Clock::time_point now) {
    const std::unique_ptr<SocketLine::Awaited> ended = line.proceed(now);
    if (!ended)
        return;
    // another set of pushes may have sent it over this line
    static_cast<SentPush&>(*ended).tell();
}

void PolledPushes::checkDeadlines(Clock::time_point now) {
    Clock::time_point next = nextCheck_;
    if (now < next || awaited_ == 0 ||
        !nextCheck_.compare_exchange_strong(next, now + milliseconds(checkPause_.load())))
        return;
    std::vector<std::shared_ptr<SocketLine>> waiting;
    {
        const MutexLock lock(mutex_);
        for (const auto& [number, each] : lines_)
            waiting.push_back(each);
    }
    for (const std::shared_ptr<SocketLine>& each : waiting)
        proceed(*each, now);
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
