#pragma once

#include <cstdint>
#include <string>

namespace kelp::test {

class NmsProcess;

/// The list of all managed elements' names as one NMS of a process, which is logged in, reads it.
/// It knows the iterators that it has opened by their number, from 0 on, also after their end and
/// in its next session. Operations throw std::runtime_error when the EMS refuses them.
class NmsLists {
  public:
    NmsLists(NmsProcess& process, int nms);

    /// Asks for the list.
    struct Answer {
        int first = 0;      ///< entries in the list
        int iterator = -1;  ///< for the rest; -1 for nil
    };
    Answer ask(std::uint32_t howMany);

    struct Batch {
        bool isMore = false;
        int entries = 0;
    };
    Batch next(int iterator, std::uint32_t howMany);
    int length(int iterator);
    void destroy(int iterator);
    /// How next_n, getLength and destroy, one after the other, are answered: "open", or "closed"
    /// for OBJECT_NOT_EXIST.
    std::string outcomes(int iterator);
    /// As text; and how getLength on the iterator of a reference is answered.
    std::string reference(int iterator);
    std::string outcomeByReference(const std::string& reference);

    /// Reads the whole list in such batches.
    struct Walk {
        int entries = 0;
        int different = 0;
        int largestBatch = 0;
        std::string afterwards;  ///< of the iterator: "open", "closed" or "none"
    };
    Walk walk(std::uint32_t howMany);

    /// Asks for the list from many threads, so often from each, and destroys no iterator. Another
    /// thread looks on, if that is wanted.
    struct Openings {
        int opened = 0;
        int refused = 0;  ///< with EXCPT_TOO_MANY_OPEN_ITERATORS
        int failed = 0;   ///< in any other way
        int openAtOnce =
            0;  ///< so many at least were open at some moment; only when somebody looks on
    };
    Openings openMany(int threads, int each, bool isWatched = false);
    /// Calls every iterator.
    struct Probe {
        int open = 0;
        int firstOpen = 0;  ///< number
    };
    Probe probe();

    /// Opens, reads and destroys on many threads without end, until it is told to stop.
    struct Mixture {
        int served = 0;
        int closed = 0;   ///< calls on what was over
        int strange = 0;  ///< calls with any other outcome
        int gaps = 0;     ///< lists that came with gaps or repetitions; only at the end
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
