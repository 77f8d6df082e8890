#include "giop/events/known_types.h"

#include <bit>
#include <utility>

#include "giop/arguments/argument_budget.h"
#include "giop/arguments/argument_reader.h"
#include "giop/arguments/type_code_reader.h"

namespace kelp::orb::giop {

namespace {

/// The events of the standard have a few dozen types. The longest TypeCode has 4 KB.
constexpr std::size_t kTypesMax = 256;
constexpr std::size_t kTypeOctetsMax = std::size_t{16} * 1024;
constexpr std::size_t kAllOctetsMax = std::size_t{256} * 1024;

std::string_view textOf(KnownTypes::Octets octets) {
    return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

}  // namespace

const KnownType* KnownTypes::find(Octets typeCode) const {
    const auto found = types_.find(textOf(typeCode));
    return found == types_.end() ? nullptr : found->second.get();
}

bool KnownTypes::learn(Octets typeCode) {
    if (typeCode.size() > kTypeOctetsMax)
        return false;
    const ArgumentLimits limits;
    ArgumentBudget budget(limits, typeCode.size());
    TypeTable table({}, {});
    ArgumentReader reader(typeCode, 0, std::endian::native == std::endian::little, {});
    const auto place = TypeCodeReader(table, budget, 0).read(reader);
    if (!place || reader.failed() || reader.left() != 0)
        return false;
    if (types_.size() >= kTypesMax || octets_ + typeCode.size() > kAllOctetsMax) {
        types_.clear();
        octets_ = 0;
    }
    const auto type = std::make_shared<const KnownType>(KnownType{std::move(table), *place});
    if (types_.try_emplace(std::string(textOf(typeCode)), type).second)
        octets_ += typeCode.size();
    return true;
}

}  // namespace kelp::orb::giop
