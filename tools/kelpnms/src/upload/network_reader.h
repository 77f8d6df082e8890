#pragma once

#include <kelp/nms/list_walk.h>
#include <kelp/nms/session.h>
#include <mtnm/emsMgr.h>
#include <mtnm/equipment.h>
#include <mtnm/managedElementManager.h>
#include <mtnm/multiLayerSubnetwork.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

#include "upload/walk_progress.h"

namespace kelp::nms {

/// The EMS does not have a manager, or one that does not implement what a list needs.
class NoSuchManager : public NmsError {
  public:
    using NmsError::NmsError;
};

/// Whether the EMS refused because of the one object that it was asked about: it has that no longer
/// (EXCPT_ENTITY_NOT_FOUND), or cannot reach its network element (EXCPT_NE_COMM_LOSS).
bool isOfObjectAlone(const ProcessingFailure& failure);

/// Reads the network's lists through a session, which is borrowed, in batches of so many entries.
/// Elements are known by the value of the component ManagedElement of their names. Each entry is
/// passed on as it comes, as JSON; progress is told of each batch, of what the EMS did otherwise
/// than the standard says, and asked between two batches whether to go on. Throws NmsError and what
/// progress and the taker throw.
class NetworkReader {
  public:
    using Json = nlohmann::ordered_json;
    using Take = std::function<void(const Json&)>;

    NetworkReader(NmsSession& session, std::uint32_t batch, WalkProgress& progress);

    /// Whether the EMS offers the manager of this name, which need not implement anything.
    bool hasManager(const std::string& name) const;
    /// Throws NoSuchManager when it does not.
    void needManager(const std::string& name) const;

    Json ems();
    /// In the EMS's order.
    std::vector<std::string> elementNames();
    void elements(const Take& take);
    void ports(const std::string& element, const Take& take);
    void equipment(const std::string& element, const Take& take);
    /// The top-level ones.
    void subnetworks(const Take& take);
    /// Those that lie in no subnetwork, then those in each of the top-level subnetworks, each once.
    void links(const Take& take);

    /// The element out of its name as JSON. Empty for a name that is not the standard's: an element
    /// that cannot be asked for what belongs to it, which is told.
    std::string elementOf(const Json& name);

    /// Called after the entries of a batch have been taken.
    std::function<void()> batchTaken = [] {};
    /// Whether entries may be missing or doubled.
    bool isDoubtful() const { return isDoubtful_; }

  private:
    template <class List, class Iterator, class Request>
    void walk(const std::string& doing, Request request, const Take& take);
    void linksOf(const Json& subnetwork, const Take& take);
    std::vector<Json> subnetworkNames();
    const std::string& emsName();
    globaldefs::NamingAttributes_T nameOf(const std::string& element);
    /// The manager, found at its first use.
    template <class Interface>
    typename Interface::_ptr_type managerOf(typename Interface::_var_type& manager,
                                            const char* name);

    NmsSession& session_;
    const CORBA::ULong batch_;
    WalkProgress& progress_;
    const std::vector<std::string> managers_;
    std::string emsName_;
    bool isDoubtful_ = false;
    emsMgr::EMSMgr_I_var emsMgr_;
    managedElementManager::ManagedElementMgr_I_var elementMgr_;
    equipment::EquipmentInventoryMgr_I_var equipmentMgr_;
    multiLayerSubnetwork::MultiLayerSubnetworkMgr_I_var subnetworkMgr_;
};

}  // namespace kelp::nms
