#pragma once

#include <kelp/orb/corba.h>
#include <mtnm/globaldefs.h>

#include <algorithm>
#include <functional>
#include <optional>

namespace kelp::test {

inline globaldefs::ProcessingFailureException refusal(globaldefs::ExceptionType_T type) {
    return {type, "as the test wants"};
}

/// How an EMS's iterators behave, and how often they were called. Entries are counted from 1.
struct IteratorScript {
    CORBA::Long lengthTooMuch = 0;  ///< added to the correct answer of getLength
    std::optional<globaldefs::ExceptionType_T> noLength;
    CORBA::ULong mostAtOnce = 0xffffffff;  ///< maximum number of entries in an answer
    CORBA::ULong unasked = 0;              ///< number of entries returned in excess of the request
    /// receives how_many; may throw
    std::function<void(CORBA::ULong)> onNext = [](CORBA::ULong) {};

    int opened = 0;
    int lengths = 0;
    int nexts = 0;
    int destroyed = 0;
};

/// An iterator over the rest of a list. destroy() does not deactivate it, so that calls after its
/// end are counted.
template <class Interface, class Skeleton, class Sequence, class SequenceOut>
class ScriptedIterator : public Skeleton {
  public:
    ScriptedIterator(IteratorScript& script, const Sequence& all, CORBA::ULong given)
        : script_(script), all_(all), given_(given), length_(all.length() - given) {
        ++script_.opened;
    }

    CORBA::Boolean next_n(CORBA::ULong howMany, SequenceOut list) override {
        ++script_.nexts;
        script_.onNext(howMany);
        list = part(all_, given_, std::min(howMany, script_.mostAtOnce) + script_.unasked);
        given_ += list->length();
        return given_ < all_.length();
    }
    CORBA::ULong getLength() override {
        ++script_.lengths;
        if (script_.noLength)
            throw refusal(*script_.noLength);
        return static_cast<CORBA::ULong>(static_cast<CORBA::Long>(length_) + script_.lengthTooMuch);
    }
    void destroy() override { ++script_.destroyed; }

    /// Answer a request for a list: return the first entries, and an iterator unless these are all.
    static typename Interface::_ptr_type give(IteratorScript& script, const Sequence& all,
                                              CORBA::ULong howMany, SequenceOut list) {
        list = part(all, 0, std::min(howMany, script.mostAtOnce));
        if (list->length() == all.length())
            return Interface::_nil();
        PortableServer::Servant_var<ScriptedIterator> iterator(
            new ScriptedIterator(script, all, list->length()));
        return iterator->_this();
    }

  private:
    static Sequence* part(const Sequence& all, CORBA::ULong begin, CORBA::ULong most) {
        auto* list = new Sequence;
        list->length(std::min(most, all.length() - begin));
        for (CORBA::ULong i = 0; i < list->length(); ++i)
            (*list)[i] = all[begin + i];
        return list;
    }

    IteratorScript& script_;
    const Sequence all_;
    CORBA::ULong given_;
    const CORBA::ULong length_;
};

}  // namespace kelp::test
