#include "binding_iterator.h"

#include <algorithm>
#include <utility>

#include "cos_names.h"

namespace kelp::naming {

namespace {

IteratorTable::Time now() {
    return std::chrono::steady_clock::now();
}

}  // namespace

std::vector<NameEntry> BindingIterators::next(std::size_t count) const {
    const NamingLimits limits = tree_->limits();
    std::optional<std::vector<NameEntry>> entries = tree_->iterators().next(
        tree_->surroundings().currentObjectId(), std::min(count, limits.listMax), limits, now());
    if (!entries)
        throwGone();
    return std::move(*entries);
}

CORBA::Boolean BindingIterators::next_one(CosNaming::Binding_out b) {
    const std::vector<NameEntry> entries = next(1);
    b = new CosNaming::Binding(entries.empty() ? bindingOf({}) : bindingOf(entries.front()));
    return !entries.empty();
}

CORBA::Boolean BindingIterators::next_n(CORBA::ULong how_many, CosNaming::BindingList_out bl) {
    if (how_many == 0)
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    const std::vector<NameEntry> entries = next(how_many);
    bl = bindingsOf(entries);
    return !entries.empty();
}

void BindingIterators::destroy() {
    if (!tree_->iterators().close(tree_->surroundings().currentObjectId(), tree_->limits(), now()))
        throwGone();
}

CORBA::Boolean BindingIterators::_non_existent() {
    return !tree_->iterators().isOpen(tree_->surroundings().currentObjectId(), tree_->limits(),
                                      now());
}

}  // namespace kelp::naming
