#pragma once

#include <kelp/agent/list_batches.h>
#include <kelp/agent/read_ahead.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/exception_text.h>
#include <kelp/util/export.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace NS_KELPCORBA {

/// Traces why a list cannot be read.
KELP_EXPORT void traceListFailure(const char* what);
/// Traces why the next batch of a list is not read ahead.
KELP_EXPORT void traceNothingAhead(const char* what);

/// A list that an NMS walks through. While the NMS works on a batch the next one of the same size
/// is read by a worker, if one of the few places for such batches is free; all entries come once
/// and in their order whatever is asked for next. A batch that nobody asks for is let go of after a
/// minute if it can be read again. Held by a shared pointer, since a read that runs may outlive who
/// began it. Any thread; calls are served one after the other.
template <class Sequence>
class ListReader final : public ReadAheadHolder,
                         public std::enable_shared_from_this<ListReader<Sequence>> {
  public:
    /// No entries: they could not be read, which is traced.
    struct Batch {
        std::unique_ptr<Sequence> entries;
        bool isMore = false;
    };

    explicit ListReader(std::unique_ptr<ListBatches<Sequence>> batches)
        : batches_(std::move(batches)) {}

    static Batch read(ListBatches<Sequence>& batches, CORBA::ULong howMany) {
        try {
            std::unique_ptr<Sequence> entries(batches.next(howMany));
            const bool isMore = batches.left() > 0;
            return {std::move(entries), isMore};
        } catch (const CORBA::Exception& failure) {
            traceListFailure(kelp::orb::exceptionText(failure).c_str());
        } catch (const std::exception& failure) {
            traceListFailure(failure.what());
        }
        return {};
    }

    /// The next batch, at most `howMany` entries; nothing when the list is over. It is over after a
    /// batch that is the last or could not be read.
    std::optional<Batch> next(CORBA::ULong howMany) {
        const std::lock_guard guard(mutex_);
        if (!batches_)
            return std::nullopt;
        Batch batch = takeNext(howMany);
        if (!batch.isMore)
            batches_.reset();
        else if (howMany > 0)
            lookAhead(howMany);
        return batch;
    }

    /// Ends the list, after the read that runs. False: it was over.
    bool close() {
        isWanted_ = false;
        const std::lock_guard guard(mutex_);
        const bool wasOpen = batches_ != nullptr;
        batches_.reset();
        ahead_.reset();
        place_.giveBack();
        return wasOpen;
    }

    /// Nobody will ask any more: no further read begins. Does not wait for one that runs.
    void abandon() { isWanted_ = false; }

    void dropAheadOlderThan(Time time) override {
        const std::unique_lock guard(mutex_, std::try_to_lock);
        if (!guard || !place_ || aheadSince_ >= time)
            return;  // a call is served, and will have it, or there is none
        ++turn_;     // one that is still queued is not read at all
        if (ahead_ && ahead_->entries) {
            if (!batches_ || !batches_->goBack(*ahead_->entries))
                return;
            ahead_.reset();
        }
        place_.giveBack();
    }

  private:
    Batch takeNext(CORBA::ULong howMany) {
        ++turn_;  // a read that is queued still has come too late
        std::optional<Batch> ahead = std::exchange(ahead_, std::nullopt);
        place_.giveBack();
        if (!ahead)
            return read(*batches_, howMany);
        batches_->forgetMark();
        if (!ahead->entries || ahead->entries->length() <= howMany)
            return std::move(*ahead);
        batches_->putBack(*ahead->entries);
        return read(*batches_, howMany);
    }
    /// The batch that was read is given, whatever becomes of the next one.
    void lookAhead(CORBA::ULong howMany) {
        try {
            place_ = ReadAheadPlace::take(readAheadOwner());
            aheadSince_ = std::chrono::steady_clock::now();
            if (place_)
                ReadAheadHolders::enter(this->shared_from_this());
            if (place_ && readAheadLater([self = this->shared_from_this(), turn = turn_, howMany] {
                    self->readAhead(turn, howMany);
                }))
                return;
        } catch (const std::exception& failure) {
            traceNothingAhead(failure.what());
        }
        place_.giveBack();
    }
    void readAhead(unsigned long turn, CORBA::ULong howMany) {
        const std::lock_guard guard(mutex_);
        if (!isWanted_ || !batches_ || turn != turn_)
            return;
        batches_->mark();
        ahead_ = read(*batches_, howMany);
    }

    std::mutex mutex_;  // one batch at a time; guards all but isWanted_
    std::unique_ptr<ListBatches<Sequence>> batches_;  // none when the list is over
    std::optional<Batch> ahead_;
    ReadAheadPlace place_;    // of ahead_, taken before it is read
    Time aheadSince_{};       // when the place was taken
    unsigned long turn_ = 0;  // of calls to next
    std::atomic<bool> isWanted_{true};
};

}  // namespace NS_KELPCORBA
