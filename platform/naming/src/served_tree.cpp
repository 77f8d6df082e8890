#include "served_tree.h"

#include <algorithm>
#include <utility>

#include "cos_names.h"

namespace kelp::naming {

using CosNaming::NamingContext;
using util::NamingPath;

namespace {

std::shared_ptr<const NameTree> treeOf(const NamingPath& objectPath,
                                       const std::vector<NamingPath>& aliases) {
    std::vector<NamingPath> paths = {objectPath};
    paths.insert(paths.end(), aliases.begin(), aliases.end());
    return std::make_shared<const NameTree>(paths);
}

[[noreturn]] void throwNotFound(NamingContext::NotFoundReason why, const NamingPath& path,
                                std::size_t at) {
    const CosNaming::Name_var rest =
        nameOf(NamingPath(path.begin() + static_cast<std::ptrdiff_t>(at), path.end()));
    throw NamingContext::NotFound(why, rest.in());
}

[[noreturn]] void throwNoPermission() {
    throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
}

}  // namespace

ServedTree::ServedTree(const NamingSettings& settings, std::unique_ptr<Surroundings> surroundings,
                       OnRefusedChange onRefused)
    : objectPath_(settings.objectPath),
      surroundings_(std::move(surroundings)),
      onRefused_(std::move(onRefused)),
      tree_(treeOf(settings.objectPath, settings.aliases)),
      limits_(settings.limits) {}

void ServedTree::change(const std::vector<NamingPath>& aliases, const NamingLimits& limits) {
    std::shared_ptr<const NameTree> changed = treeOf(objectPath_, aliases);
    const util::MutexLock guard(mutex_);
    tree_.swap(changed);
    limits_ = limits;
}

NamingLimits ServedTree::limits() const {
    const util::MutexLock guard(mutex_);
    return limits_;
}

std::shared_ptr<const NameTree> ServedTree::tree() const {
    const util::MutexLock guard(mutex_);
    return tree_;
}

CORBA::Object_ptr ServedTree::object() const {
    const util::MutexLock guard(mutex_);
    return CORBA::Object::_duplicate(object_.in());
}

CORBA::Object_ptr ServedTree::resolve(const NamingPath& path, std::size_t context) const {
    const NameTree::Found found = tree()->find(path);
    if (found.kind == NameTree::Kind::Context)
        return surroundings_->contextAt(path);
    CORBA::Object_var object = this->object();
    const bool isBound = !CORBA::is_nil(object.in());
    if (found.kind == NameTree::Kind::Object && isBound)
        return object._retn();
    // the object's place counts as empty until the object is bound
    const bool isInTheWay = found.kind == NameTree::Kind::Through && isBound;
    const std::size_t at = found.kind == NameTree::Kind::Object ? path.size() - 1 : found.at;
    throwNotFound(isInTheWay ? NamingContext::not_context : NamingContext::missing_node, path,
                  std::max(at, context));
}

std::vector<NameEntry> ServedTree::list(const NamingPath& context) const {
    std::vector<NameEntry> entries = tree()->list(context);
    const CORBA::Object_var object = this->object();
    if (CORBA::is_nil(object.in()))
        std::erase_if(entries, [](const NameEntry& entry) { return !entry.isContext; });
    return entries;
}

void ServedTree::refuseOutsiders(const char* operation, const CosNaming::Name& name) const {
    if (!surroundings_->caller())
        return;
    onRefused_({operation, shortText(name)});
    throwNoPermission();
}

void ServedTree::bind(const NamingPath& path, CORBA::Object_ptr object, Bind how) {
    if (path != objectPath_)
        throwNoPermission();
    if (CORBA::is_nil(object))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    CORBA::Object_var kept = CORBA::Object::_duplicate(
        object);  // swapped: the former object is released without the lock
    const util::MutexLock guard(mutex_);
    if (how == Bind::New && !CORBA::is_nil(object_.in()))
        throw NamingContext::AlreadyBound();
    std::swap(object_.inout(), kept.inout());
}

void ServedTree::unbind(const NamingPath& path, std::size_t context) {
    if (path != objectPath_)
        throwNoPermission();
    CORBA::Object_var former;
    {
        const util::MutexLock guard(mutex_);
        former = object_._retn();
    }
    if (CORBA::is_nil(former.in()))
        throwNotFound(NamingContext::missing_node, path, std::max(path.size() - 1, context));
}

}  // namespace kelp::naming
