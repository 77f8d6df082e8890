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

/// Counts the entries of a list while it is read, and records the EMS's deviations from the
/// standard.
class ListCount {
  public:
    /// Number of entries received so far.
    std::uint64_t entries() const { return entries_; }
    /// Number of entries of the whole list, as the EMS reports it (getLength). None if it does not
    /// report it.
    std::optional<std::uint64_t> total() const { return total_; }
    /// Sentences that describe deviations: the EMS sent more entries than requested, more or fewer
    /// than getLength reported, or getLength failed.
    const std::vector<std::string>& remarks() const { return remarks_; }
    /// Whether entries may be missing or repeated.
    bool isDoubtful() const { return isDoubtful_; }

  protected:
    explicit ListCount(std::string doing) : doing_(std::move(doing)) {}
    ~ListCount() = default;

    /// Record a batch of `length` entries, of which at most `asked` were requested. Throws NmsError
    /// after more than 100 empty batches in succession.
    void came(CORBA::ULong length, CORBA::ULong asked, bool isMore);
    void lengthIs(CORBA::ULong length) { total_ = entries_ + length; }
    void noLength(const globaldefs::ProcessingFailureException& raised);
    void allFit() { total_ = entries_; }
    void ended();
    /// Whether a further call to the object can succeed after a call to it failed with `raised`.
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

/// A list of any type that is read from the EMS batch by batch. In TMF 814 a list is a first part
/// and an iterator for the rest; the iterator is nil when there is no rest. next_n returns FALSE
/// with the last part, and the EMS then destroys the iterator. The destructor of the walk destroys
/// an iterator that has not reached its end. For use by one thread.
///
///     ListWalk<ManagedElementList_T, ManagedElementIterator_I> walk("elements", 1000);
///     walk.open([&](CORBA::ULong most, auto& list, auto& rest) {
///         manager->getAllManagedElements(most, list.out(), rest.out());
///     });
///     for (; walk.hasBatch(); walk.next())
///         use(walk.batch());
///
/// `List` is the type of the sequence, `Iterator` the iterator's interface.
template <class List, class Iterator>
class ListWalk : public ListCount {
  public:
    /// The text of every failure begins with `doing`. `batch` is the how_many of every call, at
    /// least 1.
    ListWalk(std::string doing, CORBA::ULong batch)
        : ListCount(std::move(doing)), batchSize_(batch) {}
    ~ListWalk() { leave(); }
    ListWalk(const ListWalk&) = delete;
    ListWalk& operator=(const ListWalk&) = delete;

    /// Make the call that returns the list: `request(how_many, list, iterator)` receives the _var
    /// of both. Throws ProcessingFailure or CallFailed.
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

    /// Whether there is a batch to read. It may be empty.
    bool hasBatch() const { return hasBatch_; }
    const List& batch() const { return list_.in(); }

    /// Get the next batch, if there is one. Throws ProcessingFailure or CallFailed, or NmsError
    /// after more than 100 empty batches in succession.
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
            // the EMS destroys the iterator together with the session
        }
    }

    const CORBA::ULong batchSize_;
    typename List::_var_type list_;
    typename Iterator::_var_type rest_;
    bool hasBatch_ = false;
};

}  // namespace kelp::nms
