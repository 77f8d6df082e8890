#pragma once

#include <kelp/agent/list_batches.h>

#include <memory>
#include <utility>

namespace kelp::managers {

/// Two lists as one: first all entries of the first list, then those of the second.
template <class Sequence>
class ChainedList final : public NS_KELPCORBA::ListSource<Sequence> {
  public:
    using Part = std::unique_ptr<NS_KELPCORBA::ListSource<Sequence>>;

    ChainedList(Part first, Part second) : first_(std::move(first)), second_(std::move(second)) {}

    CORBA::ULong left() const override { return first_->left() + second_->left(); }
    void read(CORBA::ULong most, Sequence& entries) override {
        const CORBA::ULong before = entries.length();
        if (first_->left() > 0)
            first_->read(most, entries);
        if (entries.length() == before)
            second_->read(most, entries);
    }
    bool keepWayBack(bool keep) override {
        const bool first = first_->keepWayBack(keep);
        return second_->keepWayBack(keep) && first;
    }
    void goBack() override {
        first_->goBack();
        second_->goBack();
    }
    /// The first list answers for both, because the size depends only on the entry.
    std::size_t encodedSize(const Sequence& entries, CORBA::ULong index) const override {
        return first_->encodedSize(entries, index);
    }
    bool givesReady() const override { return first_->givesReady() && second_->givesReady(); }
    bool readReady(CORBA::ULong most, std::size_t bytesMost, orb::ReadyEntries& entries) override {
        const CORBA::ULong before = entries.count;
        if (first_->left() > 0 && !first_->readReady(most, bytesMost, entries))
            return false;
        return entries.count != before || second_->readReady(most, bytesMost, entries);
    }

  private:
    const Part first_;
    const Part second_;
};

}  // namespace kelp::managers
