#pragma once

#include <kelp/orb/corba.h>

#include "iterators/kept_list.h"

namespace kelp::bench {

/// An iterator. Only one NMS at a time may read from it.
template <class Skeleton, class Sequence, class SequenceOut>
class FloorIterator final : public Skeleton {
  public:
    FloorIterator(PortableServer::POA_ptr poa, KeptList<Sequence>& list, CORBA::ULong from,
                  Giving giving)
        : poa_(PortableServer::POA::_duplicate(poa)),
          list_(list),
          from_(from),
          at_(from),
          giving_(giving) {}

    CORBA::Boolean next_n(CORBA::ULong howMany, SequenceOut some) override {
        Sequence* const part = list_.part(at_, howMany, giving_);
        some = part;
        at_ += part->length();
        if (at_ < list_.length())
            return true;
        destroy();
        return false;
    }
    CORBA::ULong getLength() override { return list_.length() - from_; }
    void destroy() override {
        const PortableServer::ObjectId_var id = poa_->servant_to_id(this);
        poa_->deactivate_object(id.in());
    }

  private:
    const PortableServer::POA_var poa_;
    KeptList<Sequence>& list_;
    const CORBA::ULong from_;
    CORBA::ULong at_;
    const Giving giving_;
};

/// Return the first entries, and an iterator for the rest; nil when there is no rest.
template <class Iterator, class Sequence, class SequenceOut>
CORBA::Object_ptr giveList(PortableServer::POA_ptr poa, KeptList<Sequence>& list,
                           CORBA::ULong howMany, Giving giving, SequenceOut& some) {
    Sequence* const part = list.part(0, howMany, giving);
    some = part;
    if (part->length() == list.length())
        return CORBA::Object::_nil();
    auto* const made = new Iterator(poa, list, part->length(), giving);
    const PortableServer::ServantBase_var owned = made;
    const PortableServer::ObjectId_var id = poa->activate_object(made);
    return poa->id_to_reference(id.in());
}

}  // namespace kelp::bench
