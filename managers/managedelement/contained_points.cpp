// The termination points inside and around another one.

#include "common/find_object.h"
#include "common/row_lists.h"
#include "current_points.h"
#include "managed_element_mgr.h"

namespace kelp::managedelement {

namespace {

using globaldefs::NamingAttributes_T;
using inventory::ContainedTps;
using inventory::Depth;
using inventory::Inventory;
using inventory::LayerRates;
using inventory::TpName;
using transmissionParameters::LayerRateList_T;

/// The query for the points inside a termination point, at all depths and at one of the rates.
auto pointsIn(const NamingAttributes_T& tp, const LayerRateList_T& rates, ContainedTps which) {
    return [&tp, layers = managers::layerRates(rates, "layerRateList"), which](Inventory& in) {
        return in.tpsIn(managers::findRow<TpName>(in, tp).id, layers, Depth::All, which);
    };
}

auto currentPointsIn(const NamingAttributes_T& tp, const LayerRateList_T& rates) {
    return [&tp, layers = managers::layerRates(rates, "layerRateList")](Inventory& in) {
        return currentPoints(in, managers::findRow<TpName>(in, tp), layers);
    };
}

/// Return the points around a termination point, all in one list. `append` puts the rows into it.
template <class Sequence, class Append>
Sequence* pointsAround(const NamingAttributes_T& tp, Append append) {
    return managers::withInventory([&](const std::shared_ptr<Inventory>& in) {
        auto list = std::make_unique<Sequence>();
        append(*in, in->tpsAround(managers::findRow<TpName>(*in, tp).id), *list);
        return list.release();
    });
}

}  // namespace

void ManagedElementMgr_I::getContainedPotentialTPs(
    const NamingAttributes_T& tp, const LayerRateList_T& rates, CORBA::ULong howMany,
    terminationPoint::TerminationPointList_T_out list,
    terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(howMany, list,
                                                        pointsIn(tp, rates, ContainedTps::All));
}

void ManagedElementMgr_I::getContainedPotentialTPNames(
    const NamingAttributes_T& tp, const LayerRateList_T& rates, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TerminationPoint>(
        howMany, list, pointsIn(tp, rates, ContainedTps::All));
}

void ManagedElementMgr_I::getContainedInUseTPs(
    const NamingAttributes_T& tp, const LayerRateList_T& rates, CORBA::ULong howMany,
    terminationPoint::TerminationPointList_T_out list,
    terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(howMany, list,
                                                        pointsIn(tp, rates, ContainedTps::InUse));
}

void ManagedElementMgr_I::getContainedInUseTPNames(
    const NamingAttributes_T& tp, const LayerRateList_T& rates, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TerminationPoint>(
        howMany, list, pointsIn(tp, rates, ContainedTps::InUse));
}

void ManagedElementMgr_I::getContainedCurrentTPs(
    const NamingAttributes_T& tp, const LayerRateList_T& rates, CORBA::ULong howMany,
    terminationPoint::TerminationPointList_T_out list,
    terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(howMany, list, currentPointsIn(tp, rates));
}

void ManagedElementMgr_I::getContainedCurrentTPNames(
    const NamingAttributes_T& tp, const LayerRateList_T& rates, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator =
        managers::giveNames<inventory::TerminationPoint>(howMany, list, currentPointsIn(tp, rates));
}

void ManagedElementMgr_I::getContainingTPs(const NamingAttributes_T& tp,
                                           terminationPoint::TerminationPointList_T_out list) {
    list = pointsAround<terminationPoint::TerminationPointList_T>(
        tp, [](auto& in, const auto& ids, auto& points) {
            managers::appendAll<inventory::TerminationPoint>(in, ids, points);
        });
}

void ManagedElementMgr_I::getContainingTPNames(const NamingAttributes_T& tp,
                                               globaldefs::NamingAttributesList_T_out list) {
    list = pointsAround<globaldefs::NamingAttributesList_T>(
        tp, [](auto& in, const auto& ids, auto& names) {
            managers::appendNames<inventory::TerminationPoint>(in, ids, names);
        });
}

}  // namespace kelp::managedelement
