#include "delivery/utc_time.h"

#include <chrono>
#include <cstring>
#include <ratio>

namespace kelp::notification {

namespace {

constexpr const char* kTypeId = "IDL:omg.org/TimeBase/UtcT:1.0";
constexpr std::uint64_t kBefore1970 = 122192928000000000;

bool isUtc(CORBA::TypeCode_ptr declared) {
    CORBA::TypeCode_var type = CORBA::TypeCode::_duplicate(declared);
    while (type->kind() == CORBA::tk_alias)
        type = type->content_type();
    return type->kind() == CORBA::tk_struct && std::strcmp(type->id(), kTypeId) == 0;
}

}  // namespace

std::optional<std::uint64_t> utcOf(DynamicAny::DynAny_ptr value) {
    const CORBA::TypeCode_var type = value->type();
    // the time is the first member
    if (!isUtc(type.in()) || !value->seek(0))
        return std::nullopt;
    const DynamicAny::DynAny_var units = value->current_component();
    return units->get_ulonglong();
}

std::optional<std::uint64_t> utcOf(const CORBA::Any& value) {
    const CORBA::TypeCode_var type = value.type();
    if (!isUtc(type.in()))
        return std::nullopt;
    const DynamicAny::DynAny_var dynamic = kelp::orb::dynAnyOf(value);
    const std::optional<std::uint64_t> units = utcOf(dynamic.in());
    dynamic->destroy();
    return units;
}

std::uint64_t currentUtc() {
    using Units = std::chrono::duration<std::uint64_t, std::ratio<1, 10'000'000>>;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return kBefore1970 + std::chrono::duration_cast<Units>(now).count();
}

}  // namespace kelp::notification
