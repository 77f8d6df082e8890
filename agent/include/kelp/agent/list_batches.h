#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/ready_entries.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace NS_KELPCORBA {

/// The source of a list's entries: a snapshot, taken when the NMS asked for the list. The author of
/// a bundle writes one for each kind of list. Used by one thread at a time. Any exception ends the
/// list.
template <class Sequence>
class ListSource {
  public:
    virtual ~ListSource() = default;

    /// Number of entries that have not been read.
    virtual CORBA::ULong left() const = 0;
    /// Append the next entries to `entries`: at least one and at most `most`. May append none only
    /// if the list has no further entries.
    virtual void read(CORBA::ULong most, Sequence& entries) = 0;
    /// If `keep` is true, remember the position, so that goBack can return to it. Otherwise forget
    /// it. Return false when the source cannot go back.
    virtual bool keepWayBack(bool keep) {
        static_cast<void>(keep);
        return false;
    }
    /// Return to the position of the last keepWayBack(true). Called only if that returned true.
    virtual void goBack() {}
    /// Return the size of entries[index] in a message, in bytes. An estimate may be too large, but
    /// not too small.
    virtual std::size_t encodedSize(const Sequence& entries, CORBA::ULong index) const = 0;

    /// Return whether the source also gives its entries ready for the reply. Such a source can
    /// always go back.
    virtual bool givesReady() const { return false; }
    /// As read(), but append the entries in their encoded form. End before an entry with which
    /// `entries` would have more than `bytesMost` octets, unless it is the first one. Return false
    /// in that case.
    virtual bool readReady(CORBA::ULong most, std::size_t bytesMost,
                           kelp::orb::ReadyEntries& entries) {
        static_cast<void>(most);
        static_cast<void>(bytesMost);
        static_cast<void>(entries);
        return false;
    }
};

/// Divides a list into batches. No batch exceeds the limits, however many entries are requested.
template <class Sequence>
class ListBatches {
  public:
    /// The largest batch.
    struct Limits {
        CORBA::ULong entries = 5000;
        std::size_t bytes = 1u << 20;  ///< encoded; a single entry may be larger
    };

    ListBatches(std::unique_ptr<ListSource<Sequence>> source, const Limits& limits)
        : source_(std::move(source)), limits_(limits) {}

    CORBA::ULong left() const { return source_->left() + heldLeft(); }

    /// Return the next entries, at most `howMany` and possibly fewer. Return at least one, unless
    /// `howMany` is 0 or no entry is left. The caller owns them.
    Sequence* next(CORBA::ULong howMany) {
        const CORBA::ULong most = std::min({howMany, limits_.entries, left()});
        // at its full size from the start: a sequence that grows copies its entries
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

    /// Whether nextReady() may be called instead of next().
    bool givesReady() const { return source_->givesReady() && heldLeft() == 0; }
    /// As next(), but return the entries in their encoded form.
    kelp::orb::ReadyEntries nextReady(CORBA::ULong howMany) {
        kelp::orb::ReadyEntries batch;
        const CORBA::ULong most = std::min({howMany, limits_.entries, left()});
        bool hasRoom = true;
        while (hasRoom && batch.count < most && left() > 0)
            hasRoom = source_->readReady(most - batch.count, limits_.bytes, batch);
        return batch;
    }

    /// Take a batch back. Its entries are returned first next time.
    void putBack(Sequence& batch) { hold(batch, 0); }

    /// Remember the position before a batch that goBack() may undo. Valid until forgetMark().
    void mark() {
        sourceLeftAtMark_ = source_->left();
        heldAtMark_ = heldLeft();
        mayGoBack_ = source_->keepWayBack(true);
    }
    void forgetMark() {
        source_->keepWayBack(false);
        mayGoBack_ = false;
    }
    /// Whether goBack() would succeed.
    bool mayGoBack() const { return mayGoBack_; }
    /// Undo the reading of a batch of nextReady(), which must be the only one since mark().
    /// Requires mayGoBack().
    void goBackReady() {
        if (source_->left() != sourceLeftAtMark_)
            source_->goBack();
        forgetMark();
    }
    /// Undo the reading of `batch`, which must be the only batch since mark(). Its entries are
    /// returned first next time. The source reads them again, so they take no memory in the
    /// meantime. Return false and change nothing when the source cannot go back.
    bool goBack(Sequence& batch) {
        if (!mayGoBack_)
            return false;
        if (source_->left() != sourceLeftAtMark_) {
            source_->goBack();
            // the entries held back came first in the batch; the source reads the others again,
            // also those that did not fit
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
    /// Hold back the entries from `from` on. They are returned first next time.
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
