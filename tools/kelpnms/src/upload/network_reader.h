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

/// The EMS does not have a manager, or the manager does not implement an operation that a list
/// needs.
class NoSuchManager : public NmsError {
  public:
    using NmsError::NmsError;
};

/// Whether the EMS refused a call only because of the object that the call was about: it no longer
/// has the object (EXCPT_ENTITY_NOT_FOUND), or cannot reach its network element
/// (EXCPT_NE_COMM_LOSS).
bool isOfObjectAlone(const ProcessingFailure& failure);

/// Reads the network's lists through a session, which is borrowed, in batches of `batch` entries.
/// Elements are identified by the value of the component ManagedElement of their names. Each entry
/// is passed on as JSON as soon as it is received. Each batch and each deviation from the standard
/// is reported to `progress`. Between two batches, `progress` decides whether to go on. Throws
/// NmsError, and what `progress` and `take` throw.
class NetworkReader {
  public:
    using Json = nlohmann::ordered_json;
    using Take = std::function<void(const Json&)>;

    NetworkReader(NmsSession& session, std::uint32_t batch, WalkProgress& progress);

    /// Whether the EMS offers the manager of this name. The manager may still implement nothing.
    bool hasManager(const std::string& name) const;
    /// Throw NoSuchManager when the EMS does not offer the manager of this name.
    void needManager(const std::string& name) const;

    Json ems();
    /// Return the elements in the EMS's order.
    std::vector<std::string> elementNames();
    void elements(const Take& take);
    void ports(const std::string& element, const Take& take);
    void equipment(const std::string& element, const Take& take);
    /// Read the top-level subnetworks.
    void subnetworks(const Take& take);
    /// Read the top-level links, then the links in each of the top-level subnetworks. Each link is
    /// passed on once.
    void links(const Take& take);

    /// Return the element from its name in JSON. Returns an empty text for a name that does not
    /// follow the standard, because the EMS cannot be asked for what belongs to such an element;
    /// the element is reported.
    std::string elementOf(const Json& name);

    /// Called after the entries of a batch have been taken.
    std::function<void()> batchTaken = [] {};
    /// Whether entries may be missing or repeated.
    bool isDoubtful() const { return isDoubtful_; }

  private:
    template <class List, class Iterator, class Request>
    void walk(const std::string& doing, Request request, const Take& take);
    void linksOf(const Json& subnetwork, const Take& take);
    std::vector<Json> subnetworkNames();
    const std::string& emsName();
    globaldefs::NamingAttributes_T nameOf(const std::string& element);
    /// Return the manager. It is looked up at its first use.
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
