#pragma once

#include <kelp/agent/error_translation.h>
#include <kelp/agent/iterator_helper.h>
#include <kelp/agent/list_batches.h>
#include <kelp/agent/list_reader.h>
#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <memory>
#include <optional>
#include <utility>

namespace NS_KELPCORBA {

/// Return the current value of `[iterator] batch_max`: the maximum number of entries in a batch.
KELP_EXPORT CORBA::ULong iteratorBatchMax();

template <class Sequence>
typename ListBatches<Sequence>::Limits iteratorLimits() {
    typename ListBatches<Sequence>::Limits limits;
    limits.entries = iteratorBatchMax();
    return limits;
}

/// An iterator of the standard (TMF 814: next_n, getLength, destroy) over the rest of a list.
/// `Interface` is the IDL interface and `Skeleton` its servant class. `Sequence` is the type of the
/// list and `SequenceOut` that of its out parameter. A manager writes only the list's source and
/// answers a request with give().
///
/// Calls are served one after the other. The iterator ends with its last batch, with a batch that
/// cannot be read, with destroy, with its eviction when the limit of open iterators is exceeded, or
/// with its session. After that calls raise OBJECT_NOT_EXIST.
template <class Interface, class Skeleton, class Sequence, class SequenceOut>
class TypedIterator final : public Skeleton {
  public:
    using Source = ListSource<Sequence>;

    /// Answer a request for a list as the standard demands. Put the first entries, at most
    /// `howMany`, into `list`. Return an iterator for the rest, which the caller owns, or nil when
    /// `list` holds all entries. `list` must be the first result of the operation: it stays empty
    /// when the entries are copied into the reply in their encoded form.
    ///
    /// Must run on the thread of the request: the iterator belongs to the session of that request.
    /// Throws ProcessingFailureException: EXCPT_TOO_MANY_OPEN_ITERATORS, or EXCPT_INTERNAL_ERROR
    /// when the list cannot be read.
    static typename Interface::_ptr_type give(std::unique_ptr<Source> source, CORBA::ULong howMany,
                                              SequenceOut list) {
        auto batches =
            std::make_unique<ListBatches<Sequence>>(std::move(source), iteratorLimits<Sequence>());
        Batch first = Reader::read(*batches, howMany, Reader::formOfReply());
        if (!first.isRead())
            ThrowException(kInternalFailure);
        typename Interface::_var_type rest;
        if (first.isMore)
            rest = open(std::move(batches));
        list = answer(first, kelp::orb::SequencePlace::First);
        return rest._retn();
    }

    TypedIterator(PortableServer::POA_ptr poa, std::unique_ptr<ListBatches<Sequence>> batches)
        : poa_(PortableServer::POA::_duplicate(poa)),
          length_(batches->left()),
          reader_(std::make_shared<Reader>(std::move(batches))) {}
    ~TypedIterator() override { reader_->abandon(); }

    PortableServer::POA_ptr _default_POA() override {
        return PortableServer::POA::_duplicate(poa_.in());
    }

    /// Put at most `howMany` entries into `list`, possibly fewer. For 0 return no entry and keep
    /// the iterator. Return false with the last batch. Throws EXCPT_INTERNAL_ERROR when the batch
    /// cannot be read. The list then ends, because entries may be lost.
    CORBA::Boolean next_n(CORBA::ULong howMany, SequenceOut list) override {
        std::optional<Batch> batch = reader_->next(howMany);
        if (!batch)
            throw CORBA::OBJECT_NOT_EXIST();
        if (!batch->isMore)
            TAIteratorHelper::deactive_object(this);
        if (!batch->isRead())
            ThrowException(kInternalFailure);
        list = answer(*batch, kelp::orb::SequencePlace::AfterBoolean);
        return batch->isMore;
    }
    /// Number of entries that the first answer left for the iterator, regardless of how many have
    /// been read since.
    CORBA::ULong getLength() override {
        // the ORB may still deliver calls for a moment after the iterator was deactivated
        if (reader_->isOver())
            throw CORBA::OBJECT_NOT_EXIST();
        return length_;
    }
    void destroy() override {
        if (!reader_->close())
            throw CORBA::OBJECT_NOT_EXIST();
        TAIteratorHelper::deactive_object(this);
    }

  private:
    using Reader = ListReader<Sequence>;
    using Batch = typename Reader::Batch;

    /// Return the sequence for the reply. It is empty when the reply gets ready entries.
    static Sequence* answer(Batch& batch, kelp::orb::SequencePlace place) {
        if (!batch.ready)
            return batch.entries.release();
        auto none = std::make_unique<Sequence>();
        kelp::orb::answerWith(std::move(*batch.ready), place);
        return none.release();
    }

    static typename Interface::_ptr_type open(std::unique_ptr<ListBatches<Sequence>> batches) {
        const PortableServer::POA_var poa = TAIteratorHelper::getIteratorPoa();
        if (CORBA::is_nil(poa.in()))
            ThrowException(kInternalFailure);
        auto* const made = new TypedIterator(poa.in(), std::move(batches));
        PortableServer::ServantBase_var owned = made;
        CORBA::Object_var reference;
        ThrowException(TAIteratorHelper::add_Iterator(made, reference));
        owned._retn();  // the session manager owns it now
        return Interface::_unchecked_narrow(reference.in());
    }

    const PortableServer::POA_var poa_;
    const CORBA::ULong length_;
    const std::shared_ptr<Reader> reader_;
};

}  // namespace NS_KELPCORBA
