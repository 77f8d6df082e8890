#include "filter_factory.h"

#include <cstring>

#include "channel/channel_core.h"
#include "filter_servant.h"

namespace kelp::notification {

namespace {
constexpr int kFiltersMax = 10000;
}

CosNotifyFilter::Filter_ptr FilterFactoryServant::create_filter(const char* grammar) {
    if (grammar == nullptr || std::strcmp(grammar, kExtendedTcl) != 0)
        throw CosNotifyFilter::InvalidGrammar();
    OwnerPtr owner = core_->ownerOfCaller();
    KeyedPlaces::Place place = core_->takeFilterPlace(owner);
    if (++*filters_ > kFiltersMax) {
        --*filters_;
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    }
    auto* servant =
        new FilterServant(core_, owner, [filters = filters_, held = std::move(place)]() mutable {
            --*filters;
            held.reset();
        });
    const CORBA::Object_var object = core_->activate(servant, {.owner = std::move(owner)});
    return CosNotifyFilter::Filter::_narrow(object.in());
}

CosNotifyFilter::MappingFilter_ptr FilterFactoryServant::create_mapping_filter(const char*,
                                                                               const CORBA::Any&) {
    throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
}

}  // namespace kelp::notification
