#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/naming_findings.h>
#include <kelp/orb/references.h>
#include <kelp/util/joined.h>
#include <kelp/util/mutex.h>
#include <kelp/util/naming_path.h>
#include <kelp/util/trace_log.h>

#include "naming/factory_path.h"
#include "naming/foreign_entries.h"

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;

constexpr std::size_t kShownBytesMax = 300;

/// Format the addresses in a reference. The text may come from a stranger.
std::string addressesIn(const std::string& reference) {
    kelp::orb::ReferenceContent content;
    if (!kelp::orb::decodeReference(reference, content))
        return "an unreadable reference";
    const std::string text = kelp::util::joined(content.endpoints, ", ", [](const auto& endpoint) {
        return kelp::orb::hostAndPort(endpoint) + (endpoint.tls ? " (TLS)" : "");
    });
    return text.empty() ? "a reference without an address"
                        : kelp::util::escaped(text, kShownBytesMax);
}

void record(const ForeignEntries::Report& report) {
    kelp::oplog::SecurityRecord found;
    found.event = kelp::oplog::SecurityEvent::NamingChange;
    found.object = toText(configuredFactoryPath());
    found.outcome = "foreign entry";
    found.detail = report.kind;
    if (report.times > 1)
        found.detail += ", " + std::to_string(report.times) + " times";
    AuditTrail::Instance().Write(std::move(found));
}

}  // namespace

struct NamingFindings::Watched {
    kelp::util::Mutex mutex{kelp::util::LockRank::Leaf, "NamingFindings::Watched::mutex"};
    NamingEntryState state KELP_GUARDED_BY(mutex);
    ForeignEntries foreign KELP_GUARDED_BY(mutex);

    void setBound(bool isBound) KELP_REQUIRES(mutex) {
        if (isBound == state.isBound)
            return;
        state.isBound = isBound;
        state.boundSince.reset();
        if (isBound)
            state.boundSince = std::chrono::system_clock::now();
    }
    std::vector<ForeignEntries::Report> due() KELP_REQUIRES(mutex) {
        return foreign.due(std::chrono::steady_clock::now());
    }
};

NamingFindings::NamingFindings() : watched_(std::make_unique<Watched>()) {}
NamingFindings::~NamingFindings() = default;

NamingFindings& NamingFindings::Instance() {
    static NamingFindings* const watch = new NamingFindings;
    return *watch;
}

void NamingFindings::Begin(const std::string& reference) {
    const MutexLock guard(watched_->mutex);
    if (watched_->state.reference == reference)
        return;
    watched_->state = {};
    watched_->state.reference = reference;
}

void NamingFindings::Checked(bool isOurs) {
    std::vector<ForeignEntries::Report> reports;
    {
        const MutexLock guard(watched_->mutex);
        watched_->state.isOurs = isOurs;
        watched_->setBound(isOurs);
        watched_->state.checked = std::chrono::system_clock::now();
        watched_->state.failure.clear();
        reports = watched_->due();
    }
    for (const ForeignEntries::Report& report : reports)
        record(report);
}

void NamingFindings::Bound() {
    const MutexLock guard(watched_->mutex);
    watched_->setBound(true);
}

void NamingFindings::Failed(const std::string& why) {
    const MutexLock guard(watched_->mutex);
    watched_->state.isOurs = false;
    watched_->setBound(false);
    watched_->state.failure = why;
    watched_->state.lastFailure = why;
    watched_->state.lastFailureAt = std::chrono::system_clock::now();
}

void NamingFindings::FoundForeign(const std::string& reference, bool isReplaced) {
    const std::string addresses = addressesIn(reference);
    const std::string kind =
        "the entry led to " + addresses + (isReplaced ? ", replaced" : ", not replaced");
    Checked(false);
    std::optional<ForeignEntries::Report> report;
    {
        const MutexLock guard(watched_->mutex);
        NamingEntryState& state = watched_->state;
        state.foreign = addresses;
        if (isReplaced) {
            ++state.replaced;
            watched_->setBound(true);
            state.replacedAt = state.checked;
        }
        report = watched_->foreign.found(kind, std::chrono::steady_clock::now());
    }
    if (report)
        record(*report);
}

NamingEntryState NamingFindings::State() const {
    const MutexLock guard(watched_->mutex);
    return watched_->state;
}

}  // namespace NS_CORBA
