#include "parts/host_parts.h"

#include <kelp/admin/parts.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/inventory/inventory.h>
#include <kelp/oplog/log_entry.h>
#include <kelp/util/mutex.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "certificate_watch.h"
#include "written_folders.h"

namespace kelp::host {

namespace {

using admin::Json;
using NS_BUNDLEMGR1::ConfigStore;
using std::chrono::system_clock;

Json managersPart() {
    const NS_CORBA::NorthMgrMap* const served =
        NS_CORBA::CorbaBaseAgentConfig::Instance()->GetNorthMgrMap();
    const std::vector<std::string> offered = ConfigStore::instance().texts("managers.offered");
    Json managers = Json::array();
    if (served != nullptr) {
        for (const auto& [name, factory] : *served)
            managers.push_back({{"name", name}, {"served", true}});
    }
    for (const std::string& name : offered) {
        if (served == nullptr || !served->contains(name))
            managers.push_back({{"name", name}, {"served", false}});
    }
    return {{"managers", managers}};
}

Json channelPart() {
    std::uint64_t queued = 0;
    std::size_t silent = 0;
    std::chrono::milliseconds oldest{0};
    const auto consumers = NS_CORBA::SuppilerMgr::Instance()->Consumers();
    for (const notification::ConsumerCounts& each : consumers) {
        queued += each.queued;
        silent += each.answers ? 0 : 1;
        oldest = std::max(oldest, each.oldest);
    }
    return {{"mode", ConfigStore::instance().text("notification.mode")},
            {"consumers", consumers.size()},
            {"silent", silent},
            {"queued", queued},
            {"oldestMs", oldest.count()}};
}

Json logPart(const std::string& name, const oplog::LogCounts& counts) {
    return {{"log", name},
            {"written", counts.written},
            {"waiting", counts.waiting},
            {"missing", counts.missing},
            {"fails", counts.fails}};
}

Json logsPart() {
    const NS_CORBA::AuditTrail& trail = NS_CORBA::AuditTrail::Instance();
    return {{"logs", Json::array({logPart("operation log", trail.OperationCounts()),
                                  logPart("security log", trail.SecurityCounts())})}};
}

Json certificatePart(const std::string& key) {
    const std::filesystem::path file = ConfigStore::instance().text(key);
    Json part = {{"setting", key}, {"file", file.string()}};
    if (const auto end = certificateEnd(file)) {
        part["expires"] = oplog::timeText(std::chrono::floor<std::chrono::milliseconds>(*end));
        part["daysLeft"] =
            std::chrono::floor<std::chrono::days>(*end - system_clock::now()).count();
    } else {
        part["error"] = "no certificate can be read";
    }
    return part;
}

Json certificatesPart() {
    Json all = Json::array();
    if (ConfigStore::instance().integer("tls.mode") != 0)
        all.push_back(certificatePart("tls.certificate"));
    if (!ConfigStore::instance().text("admin.network_listen").empty())
        all.push_back(certificatePart("admin.network_certificate"));
    return {{"certificates", all}};
}

Json disksPart() {
    Json disks = Json::array();
    for (const std::filesystem::path& folder : writtenFolders()) {
        std::error_code error;
        const std::filesystem::space_info space = std::filesystem::space(folder, error);
        Json disk = {{"folder", folder.string()}};
        if (error) {
            disk["error"] = error.message();
        } else {
            disk["capacityBytes"] = space.capacity;
            disk["availableBytes"] = space.available;
        }
        disks.push_back(std::move(disk));
    }
    return {{"disks", disks}};
}

Json inventoryCounts() {
    const std::filesystem::path file = inventory::configuredInventory();
    std::error_code error;
    if (!std::filesystem::exists(file, error))
        return {{"file", file.string()}, {"objects", 0}};
    inventory::Inventory opened(file, inventory::Inventory::Missing::IsAnError);
    const inventory::Statistics counts = opened.statistics();
    return {{"file", file.string()},
            {"fileBytes", counts.fileBytes},
            {"subnetworks", counts.subnetworks},
            {"elements", counts.elements},
            {"holders", counts.holders},
            {"equipment", counts.equipment},
            {"ptps", counts.ptps},
            {"ftps", counts.ftps},
            {"ctps", counts.ctps},
            {"links", counts.links}};
}

/// Counting takes 0.2 s with a million ports, so the counts may be ten seconds old.
class InventoryPart {
  public:
    Json operator()() {
        const util::MutexLock lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        if (!counted_ || now - *counted_ > std::chrono::seconds(10)) {
            counts_ = inventoryCounts();
            counted_ = now;
        }
        return counts_;
    }

  private:
    util::Mutex mutex_{util::LockRank::ServiceControl, "InventoryPart::mutex_"};
    std::optional<std::chrono::steady_clock::time_point> counted_ KELP_GUARDED_BY(mutex_);
    Json counts_ KELP_GUARDED_BY(mutex_);
};

}  // namespace

HostParts::HostParts() {
    const auto enter = [this](const char* name, admin::PartSource source) {
        registrations_.push_back(admin::Parts::instance().enter(name, std::move(source)));
    };
    enter("certificates", certificatesPart);
    enter("channel", channelPart);
    enter("disks", disksPart);
    enter("inventory", [part = std::make_shared<InventoryPart>()] { return (*part)(); });
    enter("logs", logsPart);
    enter("managers", managersPart);
}

Json tellParts(const Json&) {
    return admin::Parts::instance().current();
}

}  // namespace kelp::host
