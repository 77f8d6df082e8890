#pragma once

#include <kelp/agent/list_batches.h>
#include <kelp/agent/read_ahead.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/ready_entries.h>
#include <kelp/util/export.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace NS_KELPCORBA {

/// Trace why a list cannot be read.
KELP_EXPORT void traceListFailure(const char* what);
/// Trace why the next batch of a list is not read ahead.
KELP_EXPORT void traceNothingAhead(const char* what);

/// How a batch is read: as a sequence, or ready for the reply.
enum class BatchForm { Entries, Ready };

/// A list that an NMS reads in batches. While the NMS works on one batch a worker reads the next
/// one of the same size, if a read-ahead place is free. Every entry is returned once and in order,
/// whatever the NMS requests next. A batch that the NMS does not request within 60 s
/// (kReadAheadKept) is dropped, if its source can read it again.
///
/// Held by a shared pointer, because a read in progress may outlive the iterator that began it. Any
/// thread may call it. Calls are served one after the other.
template <class Sequence>
class ListReader final : public ReadAheadHolder,
                         public std::enable_shared_from_this<ListReader<Sequence>> {
  public:
    /// Entries as a sequence or ready for the reply. Both are null when they could not be read. The
    /// reason is traced.
    struct Batch {
        std::unique_ptr<Sequence> entries;
        std::unique_ptr<kelp::orb::ReadyEntries> ready;
        bool isMore = false;

        bool isRead() const { return entries || ready; }
        CORBA::ULong count() const {
            return ready ? ready->count : entries ? entries->length() : 0;
        }
    };

    /// The form for the reply to the request that the calling thread serves.
    static BatchForm formOfReply() {
        return kelp::orb::takesReadyEntries() ? BatchForm::Ready : BatchForm::Entries;
    }

    explicit ListReader(std::unique_ptr<ListBatches<Sequence>> batches)
        : batches_(std::move(batches)) {}

    /// Read a batch in this form, or as a sequence if the list cannot give ready entries now.
    static Batch read(ListBatches<Sequence>& batches, CORBA::ULong howMany, BatchForm form) {
        try {
            Batch batch;
            if (form == BatchForm::Ready && batches.givesReady())
                batch.ready = std::make_unique<kelp::orb::ReadyEntries>(batches.nextReady(howMany));
            else
                batch.entries.reset(batches.next(howMany));
            batch.isMore = batches.left() > 0;
            return batch;
        } catch (const CORBA::Exception& failure) {
            traceListFailure(kelp::orb::exceptionText(failure).c_str());
        } catch (const std::exception& failure) {
            traceListFailure(failure.what());
        }
        return {};
    }

    /// Return the next batch, at most `howMany` entries. None when the list is over: after its last
    /// batch, or after a batch that could not be read.
    std::optional<Batch> next(CORBA::ULong howMany) KELP_EXCLUDES(mutex_) {
        const kelp::util::MutexLock lock(mutex_);
        if (!batches_)
            return std::nullopt;
        const BatchForm form = formOfReply();
        Batch batch = takeNext(howMany, form);
        if (!batch.isMore)
            end();
        else if (howMany > 0)
            lookAhead(howMany, form);
        return batch;
    }

    /// End the list, after waiting for a read in progress. Return false when the list was already
    /// over.
    bool close() KELP_EXCLUDES(mutex_) {
        isWanted_ = false;
        const kelp::util::MutexLock lock(mutex_);
        const bool wasOpen = batches_ != nullptr;
        end();
        ahead_.reset();
        place_.giveBack();
        return wasOpen;
    }

    /// Whether the list is over. Waits for nothing.
    bool isOver() const { return isOver_; }

    /// Begin no further read, because no request can arrive any more. Does not wait for a read in
    /// progress.
    void abandon() { isWanted_ = false; }

    void dropAheadOlderThan(Time time) override KELP_EXCLUDES(mutex_) {
        if (!mutex_.try_lock())
            return;  // a call in progress takes the batch
        const kelp::util::MutexLock lock(mutex_, std::adopt_lock);
        if (!place_ || aheadSince_ >= time)
            return;  // no batch is old enough to drop
        ++turn_;     // a read that is still queued does nothing
        if (ahead_ && ahead_->isRead()) {
            if (!batches_ || !goBack(*ahead_))
                return;
            ahead_.reset();
        }
        place_.giveBack();
    }

  private:
    void end() KELP_REQUIRES(mutex_) {
        isOver_ = true;
        batches_.reset();
    }
    bool goBack(Batch& batch) KELP_REQUIRES(mutex_) {
        if (!batch.ready)
            return batches_->goBack(*batch.entries);
        batches_->goBackReady();
        return true;
    }
    Batch takeNext(CORBA::ULong howMany, BatchForm form) KELP_REQUIRES(mutex_) {
        ++turn_;  // a read that is still queued comes too late
        std::optional<Batch> ahead = std::exchange(ahead_, std::nullopt);
        place_.giveBack();
        if (!ahead)
            return read(*batches_, howMany, form);
        if (ahead->ready && (form != BatchForm::Ready || ahead->count() > howMany)) {
            batches_->goBackReady();
            return read(*batches_, howMany, form);
        }
        batches_->forgetMark();
        if (ahead->count() <= howMany)
            return std::move(*ahead);
        batches_->putBack(*ahead->entries);
        return read(*batches_, howMany, form);
    }
    /// Queue the read of the next batch, in the form of the last one: the next request is probably
    /// of the same client. A failure here is traced and does not affect the batch just read.
    void lookAhead(CORBA::ULong howMany, BatchForm form) KELP_REQUIRES(mutex_) {
        try {
            place_ = ReadAheadPlace::take(readAheadOwner());
            aheadSince_ = std::chrono::steady_clock::now();
            if (place_)
                ReadAheadHolders::enter(this->shared_from_this());
            if (place_ && readAheadLater([self = this->shared_from_this(), turn = turn_, howMany,
                                          form] { self->readAhead(turn, howMany, form); }))
                return;
        } catch (const std::exception& failure) {
            traceNothingAhead(failure.what());
        }
        place_.giveBack();
    }
    void readAhead(unsigned long turn, CORBA::ULong howMany, BatchForm form) KELP_EXCLUDES(mutex_) {
        const kelp::util::MutexLock lock(mutex_);
        if (!isWanted_ || !batches_ || turn != turn_)
            return;
        batches_->mark();
        // ready entries cannot be put back one by one
        ahead_ = read(*batches_, howMany, batches_->mayGoBack() ? form : BatchForm::Entries);
    }

    // held while a batch is read: the source may lock anything
    kelp::util::Mutex mutex_{kelp::util::LockRank::Outermost, "ListReader::mutex_"};
    // null when the list is over
    std::unique_ptr<ListBatches<Sequence>> batches_ KELP_GUARDED_BY(mutex_);
    std::optional<Batch> ahead_ KELP_GUARDED_BY(mutex_);
    // the place for ahead_; taken before the read is queued
    ReadAheadPlace place_ KELP_GUARDED_BY(mutex_);
    Time aheadSince_ KELP_GUARDED_BY(mutex_){};  // when the place was taken
    // changes with every call to next and with every drop
    unsigned long turn_ KELP_GUARDED_BY(mutex_) = 0;
    std::atomic<bool> isWanted_{true};
    std::atomic<bool> isOver_{false};
};

}  // namespace NS_KELPCORBA
