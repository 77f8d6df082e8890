#pragma once

#include <kelp/nms/error.h>
#include <kelp/nms/session.h>
#include <kelp/orb/corba.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelp::nms {

/// What a walk through a list counts, and what the EMS did otherwise than the standard says.
class ListCount {
  public:
    /// Entries that came so far.
    std::uint64_t entries() const { return entries_; }
    /// Entries of the whole list, as the EMS says it (getLength); none when it does not.
    std::optional<std::uint64_t> total() const { return total_; }
    /// Sentences about what is not as it should be: more entries than asked for, more or fewer than
    /// getLength said, no usable getLength. Entries may be missing or doubled when `isDoubtful`.
    const std::vector<std::string>& remarks() const { return remarks_; }
    bool isDoubtful() const { return isDoubtful_; }

  protected:
    explicit ListCount(std::string doing) : doing_(std::move(doing)) {}
    ~ListCount() = default;

    /// A batch came, for which at most `asked` entries were asked. Throws NmsError when the EMS
    /// gives nothing again and again.
    void came(CORBA::ULong length, CORBA::ULong asked, bool isMore);
    void lengthIs(CORBA::ULong length) { total_ = entries_ + length; }
    void noLength(const globaldefs::ProcessingFailureException& raised);
    void allFit() { total_ = entries_; }
    void ended();
    /// Whether a call to the object can be answered at all after this failure of another.
    static bool maybeThere(const CORBA::SystemException& raised);

    const std::string doing_;

  private:
    void remark(const std::string& text) { remarks_.push_back(doing_ + ": " + text); }

    std::uint64_t entries_ = 0;
    std::optional<std::uint64_t> total_;
    std::vector<std::string> remarks_;
    bool isDoubtful_ = false;
    bool hasOverlongBatch_ = false;
    unsigned emptyBatches_ = 0;
};

/// A list of any type, read from the EMS batch by batch (TMF 814: a first list and an iterator for
/// the rest, nil when there is none; next_n until it answers FALSE, after which the iterator is
/// gone). An iterator that has not come to its end is destroyed with the walk. For one thread.
///
///     ListWalk<ManagedElementList_T, ManagedElementIterator_I> walk("getAllManagedElements",
///     1000); walk.open([&](CORBA::ULong most, auto& list, auto& rest) {
///         manager->getAllManagedElements(most, list.out(), rest.out());
///     });
///     for (; walk.hasBatch(); walk.next())
///         use(walk.batch());
///
/// `List` is the sequence's type, `Iterator` the interface.
template <class List, class Iterator>
class ListWalk : public ListCount {
  public:
    /// `doing` begins what is told of failures; `batch` is the how_many of every call, 1 at least.
    ListWalk(std::string doing, CORBA::ULong batch)
        : ListCount(std::move(doing)), batchSize_(batch) {}
    ~ListWalk() { leave(); }
    ListWalk(const ListWalk&) = delete;
    ListWalk& operator=(const ListWalk&) = delete;

    /// Makes the call that answers with the list: `request(how_many, list, iterator)` is given the
    /// _var of both. Throws ProcessingFailure or CallFailed.
    template <class Request>
    void open(Request request) {
        NmsSession::call(doing_, [&] { request(batchSize_, list_, rest_); });
        const bool isMore = !CORBA::is_nil(rest_.in());
        came(list_->length(), batchSize_, isMore);
        if (isMore)
            askLength();
        else
            allFit();
        hasBatch_ = true;
    }

    /// Whether there is a batch to use; it may be empty.
    bool hasBatch() const { return hasBatch_; }
    const List& batch() const { return list_.in(); }

    /// Gets the next batch, if there is one. Throws ProcessingFailure, CallFailed, or NmsError when
    /// the EMS gives nothing again and again.
    void next() {
        hasBatch_ = false;
        if (CORBA::is_nil(rest_.in()))
            return;
        bool isMore = false;
        callRest("next_n", [&] { isMore = rest_->next_n(batchSize_, list_.out()); });
        if (!isMore)
            rest_ = Iterator::_nil();
        came(list_->length(), batchSize_, isMore);
        hasBatch_ = true;
        if (!isMore)
            ended();
    }

  private:
    void askLength() {
        callRest("getLength", [this] {
            try {
                lengthIs(rest_->getLength());
            } catch (const globaldefs::ProcessingFailureException& noAnswer) {
                noLength(noAnswer);
            }
        });
    }

    template <class Calls>
    void callRest(const char* operation, Calls calls) {
        NmsSession::call(doing_ + ", " + operation, [&] {
            try {
                calls();
            } catch (const CORBA::SystemException& failure) {
                if (!maybeThere(failure))
                    rest_ = Iterator::_nil();
                throw;
            }
        });
    }

    void leave() noexcept {
        if (CORBA::is_nil(rest_.in()))
            return;
        try {
            rest_->destroy();
        } catch (const CORBA::Exception&) {
            // it goes with the session
        }
    }

    const CORBA::ULong batchSize_;
    typename List::_var_type list_;
    typename Iterator::_var_type rest_;
    bool hasBatch_ = false;
};

}  // namespace kelp::nms
