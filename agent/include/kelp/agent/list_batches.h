#pragma once

#include <kelp/orb/corba.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace NS_KELPCORBA {

/// Where the entries of a list come from: a snapshot, taken when the list was asked for. What a
/// bundle's author writes for each kind of list. One thread at a time uses it; any exception ends
/// the list.
template <class Sequence>
class ListSource {
  public:
    virtual ~ListSource() = default;

    /// Entries that are left.
    virtual CORBA::ULong left() const = 0;
    /// Appends the next entries to `entries`, at most `most`: one at least, unless none is left
    /// afterwards.
    virtual void read(CORBA::ULong most, Sequence& entries) = 0;
    /// From here on (`keep`) what is read may have to be read again, or no longer. False: it cannot
    /// be.
    virtual bool keepWayBack(bool keep) {
        static_cast<void>(keep);
        return false;
    }
    /// Back to where keepWayBack(true) was called last; only when that returned true.
    virtual void goBack() {}
    /// What entries[index] takes in a message, in bytes; rather too much than too little.
    virtual std::size_t encodedSize(const Sequence& entries, CORBA::ULong index) const = 0;
};

/// A list in batches that never grow beyond what a batch may hold, whatever is asked for.
template <class Sequence>
class ListBatches {
  public:
    struct Limits {
        CORBA::ULong entries = 5000;
        std::size_t bytes = 1u << 20;  ///< encoded; a single entry may be larger
    };

    ListBatches(std::unique_ptr<ListSource<Sequence>> source, const Limits& limits)
        : source_(std::move(source)), limits_(limits) {}

    CORBA::ULong left() const { return source_->left() + heldLeft(); }

    /// The next entries, `howMany` at most and perhaps fewer; the caller owns them. One at least,
    /// unless none was asked for or none is left.
    Sequence* next(CORBA::ULong howMany) {
        const CORBA::ULong most = std::min({howMany, limits_.entries, left()});
        // a sequence that grows copies what is in it
        auto batch = std::make_unique<Sequence>(most);
        std::size_t bytes = 0;
        CORBA::ULong step = kFirstStep;
        while (batch->length() < most && left() > 0) {
            const CORBA::ULong before = batch->length();
            readInto(*batch, std::min(step, most - before));
            for (CORBA::ULong i = before; i < batch->length(); ++i) {
                const std::size_t size = source_->encodedSize(*batch, i);
                if (i > 0 && bytes + size > limits_.bytes) {
                    hold(*batch, i);
                    return batch.release();
                }
                bytes += size;
            }
            if (batch->length() > 0)
                step = stepFor(limits_.bytes - std::min(bytes, limits_.bytes),
                               bytes / batch->length());
        }
        return batch.release();
    }

    /// A batch that is not wanted as it is: its entries come first next time.
    void putBack(Sequence& batch) { hold(batch, 0); }

    /// Before a batch that goBack() may undo, until forgetMark().
    void mark() {
        sourceLeftAtMark_ = source_->left();
        heldAtMark_ = heldLeft();
        mayGoBack_ = source_->keepWayBack(true);
    }
    void forgetMark() {
        source_->keepWayBack(false);
        mayGoBack_ = false;
    }
    /// Undoes the reading of `batch`, the only one since the mark: its entries come first next
    /// time, and take no memory until then, since the source reads them again. False: it cannot,
    /// and nothing has changed.
    bool goBack(Sequence& batch) {
        if (!mayGoBack_)
            return false;
        if (source_->left() != sourceLeftAtMark_) {
            source_->goBack();
            // those that were held came first; the others, and what did not fit, come from the
            // source again
            batch.length(std::min(heldAtMark_, batch.length()));
            held_ = Sequence();
            heldAt_ = 0;
        }
        hold(batch, 0);
        forgetMark();
        return true;
    }

  private:
    static constexpr CORBA::ULong kFirstStep = 64;
    static constexpr CORBA::ULong kLongestStep = 1000;

    static CORBA::ULong stepFor(std::size_t bytesLeft, std::size_t entryBytes) {
        const std::size_t fitting = bytesLeft / std::max<std::size_t>(entryBytes, 1);
        return static_cast<CORBA::ULong>(std::clamp<std::size_t>(fitting, 1, kLongestStep));
    }
    CORBA::ULong heldLeft() const { return held_.length() - heldAt_; }

    void readInto(Sequence& batch, CORBA::ULong most) {
        if (heldLeft() == 0) {
            source_->read(most, batch);
            return;
        }
        const CORBA::ULong count = std::min(most, heldLeft());
        const CORBA::ULong before = batch.length();
        batch.length(before + count);
        for (CORBA::ULong i = 0; i < count; ++i)
            batch[before + i] = held_[heldAt_++];
    }
    /// Entries that were read and do not fit come first next time.
    void hold(Sequence& batch, CORBA::ULong from) {
        Sequence held(batch.length() - from + heldLeft());
        held.length(held.maximum());
        CORBA::ULong at = 0;
        for (CORBA::ULong i = from; i < batch.length(); ++i)
            held[at++] = batch[i];
        while (heldAt_ < held_.length())
            held[at++] = held_[heldAt_++];
        held_ = held;
        heldAt_ = 0;
        batch.length(from);
    }

    const std::unique_ptr<ListSource<Sequence>> source_;
    const Limits limits_;
    Sequence held_;
    CORBA::ULong heldAt_ = 0;
    CORBA::ULong sourceLeftAtMark_ = 0;
    CORBA::ULong heldAtMark_ = 0;
    bool mayGoBack_ = false;
};

}  // namespace NS_KELPCORBA
