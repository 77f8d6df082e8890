#include "status/host_conditions.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/naming_findings.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/trace_log.h>

#include <set>
#include <system_error>
#include <utility>

#include "certificate_watch.h"
#include "threads/stuck_threads.h"
#include "written_folders.h"

namespace kelp::host {

namespace {

using admin::Condition;
using admin::Severity;
using NS_BUNDLEMGR1::ConfigStore;
using std::chrono::system_clock;

constexpr std::size_t kShownBytesMax = 100;
/// An NMS behind a slow link has its events within seconds.
constexpr std::chrono::seconds kOldEvent{30};
/// How long a replaced naming entry is shown.
constexpr std::chrono::hours kReplacedShown{1};
constexpr std::uintmax_t kNearlyFullPercent = 5;
constexpr std::uintmax_t kFullPercent = 1;

/// " of NMS bob at 192.0.2.7:4711". Empty for a consumer of the EMS.
std::string ownerText(const std::string& owner) {
    const auto part = [&](const std::string& tag) {
        const std::string open = "<" + tag + ">";
        return util::escaped(std::string(NS_UTIL::SelfUtilCommon::Instance()->ViewByTag(
                                 owner, open, "</" + tag + ">", static_cast<int>(open.size()))),
                             kShownBytesMax);
    };
    const std::string user = part("USERNAME_TAG");
    if (!user.empty())
        return " of NMS " + user + " at " + part("IPANDPORT_TAG");
    return owner.empty() ? "" : " of " + util::escaped(owner, kShownBytesMax);
}

}  // namespace

std::optional<Condition> consumerCondition(const notification::ConsumerCounts& counts) {
    const std::string who = "consumer " + std::to_string(counts.admin) + "/" +
                            std::to_string(counts.proxy) + ownerText(counts.owner);
    const std::string queue = std::to_string(counts.queued) + " of " +
                              std::to_string(counts.queueLimit) + " events wait, the oldest for " +
                              std::to_string(counts.oldest.count() / 1000) + " s";
    const system_clock::time_point since = system_clock::now() - counts.oldest;
    if (!counts.answers)
        return Condition{"consumer-silent", Severity::Warning, who + " does not answer: " + queue,
                         since,
                         "check the NMS and the network; kelpctl consumers shows the last error"};
    if (counts.oldest > kOldEvent || counts.queued * 2 > counts.queueLimit)
        return Condition{"consumer-slow", Severity::Warning, who + " is slow: " + queue, since,
                         "let the NMS filter, take batches, or answer faster"};
    return std::nullopt;
}

std::optional<Condition> namingCondition(const NS_CORBA::NamingEntryState& entry,
                                         system_clock::time_point now) {
    const std::string foreign = util::escaped(entry.foreign, kShownBytesMax);
    if (!entry.failure.empty())
        return Condition{"naming-unreachable", Severity::Critical,
                         "the session factory's entry cannot be checked: " +
                             util::escaped(entry.failure, kShownBytesMax),
                         entry.checked,
                         "start the naming service, or correct [naming] host and port"};
    if (!entry.foreign.empty() && !entry.isBound)
        return Condition{"naming-foreign", Severity::Critical,
                         "the naming service leads NMS to " + foreign + " instead of this EMS",
                         entry.checked,
                         "stop the other EMS, and let nobody else write into the naming service"};
    if (entry.replacedAt && now - *entry.replacedAt < kReplacedShown)
        return Condition{"naming-replaced", Severity::Warning,
                         "a naming entry that led to " + foreign + " was replaced, " +
                             std::to_string(entry.replaced) + " in all",
                         entry.replacedAt,
                         "kelpctl audit --event naming shows when; find who writes there"};
    return std::nullopt;
}

std::vector<Condition> conditionsOfLog(const std::string& log, const oplog::LogCounts& counts) {
    std::vector<Condition> all;
    if (counts.fails)
        all.push_back({"log-failing", Severity::Critical,
                       log + " cannot be written, " + std::to_string(counts.waiting) +
                           " records wait in memory",
                       std::nullopt, "free space on its disk; the trace has the reason"});
    if (counts.missing > 0)
        all.push_back({"log-records-missing", Severity::Warning,
                       std::to_string(counts.missing) + " records are missing in " + log,
                       std::nullopt, "the trace says when they were lost; a restart resets this"});
    return all;
}

namespace {

std::vector<Condition> consumerConditions() {
    std::vector<Condition> all;
    for (const auto& each : NS_CORBA::SuppilerMgr::Instance()->Consumers()) {
        if (const auto found = consumerCondition(each))
            all.push_back(*found);
    }
    return all;
}

std::vector<Condition> namingConditions() {
    const auto found =
        namingCondition(NS_CORBA::NamingFindings::Instance().State(), system_clock::now());
    return found ? std::vector{*found} : std::vector<Condition>();
}

std::vector<Condition> logConditions() {
    const NS_CORBA::AuditTrail& trail = NS_CORBA::AuditTrail::Instance();
    std::vector<Condition> all = conditionsOfLog("the operation log", trail.OperationCounts());
    for (Condition& each : conditionsOfLog("the security log", trail.SecurityCounts()))
        all.push_back(std::move(each));
    return all;
}

std::vector<Condition> diskConditions() {
    std::vector<Condition> all;
    for (const std::filesystem::path& folder : writtenFolders()) {
        std::error_code error;
        const std::filesystem::space_info space = std::filesystem::space(folder, error);
        if (error)
            continue;  // the folder is made with its first file
        if (const auto found = diskCondition(folder, space.capacity, space.available))
            all.push_back(*found);
    }
    return all;
}

std::vector<Condition> lockOutConditions() {
    std::vector<Condition> all;
    for (const NS_CORBA::LockOut& each : NS_CORBA::CorbaSecurityMgr::Instance()->LockOuts())
        all.push_back({"user-locked-out", Severity::Warning,
                       "user \"" + util::escaped(each.user, kShownBytesMax) +
                           "\" is locked out at " + each.address + " for another " +
                           std::to_string(each.left.count()) + " s after wrong passwords",
                       each.since,
                       "correct the NMS's password; kelpctl user password lifts the lock-out"});
    return all;
}

std::vector<Condition> certificateConditions() {
    const ConfigStore& config = ConfigStore::instance();
    std::vector<std::filesystem::path> files;
    if (config.integer("tls.mode") != 0)
        files.emplace_back(config.text("tls.certificate"));
    if (!config.text("admin.network_listen").empty())
        files.emplace_back(config.text("admin.network_certificate"));
    std::vector<Condition> all;
    for (const std::filesystem::path& file : files) {
        if (const auto found =
                certificateCondition(file, certificateEnd(file), system_clock::now()))
            all.push_back(*found);
    }
    return all;
}

}  // namespace

std::optional<Condition> diskCondition(const std::filesystem::path& folder, std::uintmax_t capacity,
                                       std::uintmax_t available) {
    const std::uintmax_t percent = capacity / 100;
    if (available >= percent * kNearlyFullPercent)
        return std::nullopt;
    const bool isFull = available < percent * kFullPercent;
    return Condition{isFull ? "disk-full" : "disk-nearly-full",
                     isFull ? Severity::Critical : Severity::Warning,
                     "the disk of " + folder.string() + " has " + std::to_string(available >> 20) +
                         " MiB left of " + std::to_string(capacity >> 20),
                     std::nullopt, "free space, or move the files to a larger disk"};
}

std::optional<Condition> certificateCondition(const std::filesystem::path& file,
                                              std::optional<system_clock::time_point> end,
                                              system_clock::time_point now) {
    const std::string sentence = certificateWarning(file, end, now);
    if (sentence.empty())
        return std::nullopt;
    const bool isOver = !end || *end <= now;
    return Condition{isOver ? "certificate-expired" : "certificate-expires",
                     isOver ? Severity::Critical : Severity::Warning, sentence,
                     isOver ? end : std::nullopt, "install a new certificate, then send SIGHUP"};
}

HostConditions::HostConditions() {
    const auto enter = [this](const char* name, admin::ConditionSource source) {
        registrations_.push_back(admin::Conditions::instance().enter(name, std::move(source)));
    };
    enter("certificate", certificateConditions);
    enter("consumers", consumerConditions);
    enter("disks", diskConditions);
    enter("lock-outs", lockOutConditions);
    enter("logs", logConditions);
    enter("naming", namingConditions);
    enter("threads", threadConditions);
}

}  // namespace kelp::host
