#include <kelp/corbabase/call_meter.h>

namespace NS_CORBA {
namespace {

constexpr std::int64_t kRateSeconds = 10;

std::int64_t secondOf(CallMeter::Clock::time_point time) {
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

}  // namespace

void CallMeter::note(Clock::time_point now) {
    total_.fetch_add(1, std::memory_order_relaxed);
    const std::int64_t number = secondOf(now);
    Second& second = seconds_[static_cast<std::size_t>(number) % kSeconds];
    std::int64_t known = second.number.load(std::memory_order_acquire);
    // the thread that begins a second resets its count
    if (known != number && second.number.compare_exchange_strong(known, number))
        second.calls.store(0, std::memory_order_release);
    second.calls.fetch_add(1, std::memory_order_relaxed);
}

CallFigures CallMeter::figures(Clock::time_point now) const {
    const std::int64_t current = secondOf(now);
    std::uint64_t calls = 0;
    for (const Second& second : seconds_) {
        const std::int64_t number = second.number.load(std::memory_order_acquire);
        if (number < current && number >= current - kRateSeconds)
            calls += second.calls.load(std::memory_order_relaxed);
    }
    return {total_.load(std::memory_order_relaxed),
            static_cast<double>(calls) / static_cast<double>(kRateSeconds)};
}

}  // namespace NS_CORBA
