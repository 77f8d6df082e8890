#pragma once

#include <cstdint>
#include <string>

namespace kelp::test {

class NmsProcess;

/// The list of all managed elements' names, as one logged-in NMS of a process reads it. Iterators
/// are numbered from 0 in the order in which they were opened. A number stays valid after the
/// iterator's end and in the next session. Operations throw std::runtime_error if the EMS refuses
/// them.
class NmsLists {
  public:
    NmsLists(NmsProcess& process, int nms);

    /// Answer to a request for the list.
    struct Answer {
        int first = 0;      ///< entries in the first batch
        int iterator = -1;  ///< number of the iterator for the rest; -1 for nil
    };
    Answer ask(std::uint32_t howMany);

    struct Batch {
        bool isMore = false;
        int entries = 0;
    };
    Batch next(int iterator, std::uint32_t howMany);
    int length(int iterator);
    void destroy(int iterator);
    /// Call next_n, getLength and destroy in this order and return their outcomes: "open", or
    /// "closed" for OBJECT_NOT_EXIST.
    std::string outcomes(int iterator);
    /// The iterator's reference as text, and the outcome of getLength on the iterator with that
    /// reference.
    std::string reference(int iterator);
    std::string outcomeByReference(const std::string& reference);

    /// Result of reading the whole list in batches of `howMany` entries.
    struct Walk {
        int entries = 0;
        int different = 0;
        int largestBatch = 0;
        std::string afterwards;  ///< state of the iterator at the end: "open", "closed" or "none"
    };
    Walk walk(std::uint32_t howMany);

    /// Result of requesting the list from `threads` threads, `each` times per thread, without
    /// destroying an iterator. If `isWatched`, another thread counts the open iterators meanwhile.
    struct Openings {
        int opened = 0;
        int refused = 0;  ///< with EXCPT_TOO_MANY_OPEN_ITERATORS
        int failed = 0;   ///< in any other way
        /// Minimum number of iterators that were open at the same time; 0 if not watched.
        int openAtOnce = 0;
    };
    Openings openMany(int threads, int each, bool isWatched = false);
    /// Result of calling every iterator.
    struct Probe {
        int open = 0;
        int firstOpen = 0;  ///< number of the first iterator that is open
    };
    Probe probe();

    /// Results of a mixture of threads that open, read and destroy until they are stopped.
    struct Mixture {
        int served = 0;
        int closed = 0;   ///< calls on an iterator or session that was over
        int strange = 0;  ///< calls with any other outcome
        int gaps = 0;     ///< lists with gaps or repeated entries; counted only at the end
        std::string strangest;
    };
    void startMixture();
    Mixture mixture();
    Mixture stopMixture();

  private:
    template <class... Arguments>
    std::string tell(const std::string& command, Arguments... arguments) const;

    NmsProcess& process_;
    const int nms_;
};

}  // namespace kelp::test
