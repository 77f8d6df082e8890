#include "host.h"

#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>
#include <kelp/appmgr/task_mgr.h>
#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/error_catalogue.h>
#include <kelp/bundlemgr/light_event.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/tls_settings.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/core_dumps.h>
#include <kelp/util/trace_log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "admin/admin_server.h"
#include "admin/configuration_requests.h"
#include "admin/consumer_requests.h"
#include "admin/known_requests.h"
#include "admin/naming_requests.h"
#include "admin/network/network_server.h"
#include "admin/probe_requests.h"
#include "admin/status_request.h"
#include "audit_use.h"
#include "certificate_watch.h"
#include "exit_codes.h"
#include "installation.h"
#include "metrics/host_metrics.h"
#include "metrics/metrics_text.h"
#include "naming_readiness.h"
#include "naming_settings.h"
#include "parts/host_parts.h"
#include "readiness_watch.h"
#include "reload.h"
#include "service_manager.h"
#include "signal_watch.h"
#include "start_failure.h"
#include "status/host_conditions.h"
#include "threads/thread_requests.h"
#include "threads/watchdog.h"
#include "trusted_files.h"

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;

void trace(int line, const std::string& text) {
    NS_CORBA::tracePoint("kelpd", line);
    NS_CORBA::TaTrace("%s", text.c_str());
}

std::filesystem::path configFileOf(const Options& options) {
    return options.configFile.empty() ? standardConfigFile() : options.configFile;
}

/// Load the file as the process's configuration, and check the files that it names.
std::vector<ConfigProblem> loadConfiguration(const std::filesystem::path& file) {
    std::vector<ConfigProblem> problems;
    if (file.empty())
        ConfigStore::instance().reset();
    else
        problems = ConfigStore::instance().load(file);
    if (problems.empty())
        problems = NS_CORBA::problemsOfConfiguredTls();
    return problems.empty() ? problemsOfTrust() : problems;
}

/// Set what the process may do from here on.
void applyProcessSettings() {
    util::setCoreDumps(ConfigStore::instance().flag("security.core_dumps"));
    // no new file is accessible to others, unless its mode is changed later
    ::umask(S_IRWXG | S_IRWXO);
}

void warnOfRoot() {
    if (::geteuid() == 0)
        trace(__LINE__,
              "warning: kelpd runs as root, and so would whoever breaks into it; give it an "
              "account without "
              "privileges");
}

void tellProblems(const std::vector<ConfigProblem>& problems) {
    for (const ConfigProblem& problem : problems)
        std::cerr << "kelpd: " << problem.text() << '\n';
}

/// Keeps the trace open for the duration of a scope.
class TraceUse {
  public:
    TraceUse() : open_(NS_CORBA::CorbaLogMgr::Instance()->Init()) {}
    ~TraceUse() {
        if (open_)
            NS_CORBA::CorbaLogMgr::Destroy();
    }
    TraceUse(const TraceUse&) = delete;
    TraceUse& operator=(const TraceUse&) = delete;

    bool isOpen() const { return open_; }

  private:
    const bool open_;
};

/// Keeps the error catalogue in the registry for the duration of a scope. The agent looks it up
/// there once.
class CatalogueUse {
  public:
    explicit CatalogueUse(const std::filesystem::path& configFile) {
        const Places places = errorCatalogues(programDirectory(), configFile);
        const std::filesystem::path file = firstExisting(places);
        if (file.empty())
            throw StartFailure{kConfigurationError,
                               "no error catalogue, looked for " + inWords(places)};
        if (const auto problems = catalogue_.load(file); !problems.empty())
            throw StartFailure{kConfigurationError, problems.front().text()};
        NS_BUNDLEMGR1::SetIFBuf("ErrorCodeBufIf", &catalogue_);
    }
    ~CatalogueUse() { NS_BUNDLEMGR1::RemoveIFBuf(&catalogue_); }
    CatalogueUse(const CatalogueUse&) = delete;
    CatalogueUse& operator=(const CatalogueUse&) = delete;

  private:
    NS_BUNDLEMGR1::ErrorCatalogue catalogue_;
};

/// If the naming service is to be embedded, make the ORB that a bundle starts serve it.
void prepareNaming() {
    const bool isEmbedded = ConfigStore::instance().flag("naming.embedded");
    NS_CORBA::CorbaBaseAgentConfig::Instance()->EmbedNamingService(isEmbedded);
    // check first, because the ORB would only report that it cannot listen
    std::string whyNot;
    if (isEmbedded && !namingPortsAreFree(whyNot))
        throw StartFailure{kNamingServiceError, whyNot};
}

/// Runs the bundles for the duration of a scope, and the helper threads that work for them until
/// they have stopped.
class BundlesUse {
  public:
    BundlesUse() {
        const ConfigStore& config = ConfigStore::instance();
        std::filesystem::path folder = config.text("bundles.dir");
        if (folder.empty()) {
            const Places places = bundleDirectories(programDirectory());
            folder = firstExisting(places);
            if (folder.empty())
                throw StartFailure{kStartError,
                                   "no folder of bundles, looked for " + inWords(places)};
        }
        std::string whyNot;
        if (!NS_BUNDLEMGR1::BundleMgr::Instance()->Start(folder, config.texts("bundles.load"),
                                                         whyNot)) {
            endHelpers();
            throw StartFailure{kStartError, whyNot};
        }
    }
    ~BundlesUse() {
        // work that bundles have queued runs their code, so the threads for it end before any
        // bundle is unloaded
        KelpAppMgr::Instance()->Exit();
        NS_BUNDLEMGR1::BundleMgr::Instance()->Stop();
        endHelpers();
    }
    BundlesUse(const BundlesUse&) = delete;
    BundlesUse& operator=(const BundlesUse&) = delete;

  private:
    static void endHelpers() {
        KelpAppMgr::Instance()->Exit();
        NS_BUNDLEMGR1::LightEventMgr::Instance()->Stop();
    }
};

/// The operator's interface. It opens after the bundles have started and closes before they stop,
/// so that no request reaches a bundle that is only partly there.
class AdminUse {
  public:
    AdminUse()
        : health_(admin::Registry::instance().enter("GET", "/health", tellHealth)),
          consumers_(admin::Registry::instance().enter("GET", "/consumers", tellConsumers)),
          naming_(admin::Registry::instance().enter("GET", "/naming", tellNaming)),
          alive_(admin::Registry::instance().enter("GET", "/healthz", tellAlive)),
          readiness_(admin::Registry::instance().enter("GET", "/readyz", tellReadiness)),
          status_(admin::Registry::instance().enter("GET", "/status", tellStatus)),
          configuration_(admin::Registry::instance().enter("GET", "/config", tellConfiguration)),
          reload_(admin::Registry::instance().enter("POST", "/reload", reload)),
          threads_(admin::Registry::instance().enter("GET", "/threads", tellThreads)),
          parts_(admin::Registry::instance().enter("GET", "/parts", tellParts)),
          version_(admin::Registry::instance().enter("GET", "/version", tellVersion)),
          requests_(admin::Registry::instance().enter("GET", "/requests", tellRequests)) {
        const admin::Address address = admin::configuredAddress();
        try {
            server_.emplace(address);
        } catch (const std::exception& failure) {
            throw StartFailure{kAdminError, failure.what()};
        }
        trace(__LINE__, "the operator's interface is at " + address.text());
        openToTheNetwork();
    }

  private:
    void openToTheNetwork() {
        const std::optional<NetworkAddress> network = configuredNetworkAddress();
        if (!network)
            return;
        try {
            network_.emplace(*network);
        } catch (const std::exception& failure) {
            throw StartFailure{kAdminError, failure.what()};
        }
        trace(__LINE__, "operators on other machines reach the status page at https://" +
                            network->address.text());
    }
    static admin::Json tellHealth(const admin::Json&) {
        const NS_CORBA::AuditTrail& trail = NS_CORBA::AuditTrail::Instance();
        return {{"status", "ok"},
                {"version", KELP_VERSION},
                {"operationLog", jsonOf(trail.OperationCounts())},
                {"securityLog", jsonOf(trail.SecurityCounts())}};
    }

    static admin::Json jsonOf(const oplog::LogCounts& counts) {
        return {{"taken", counts.taken},
                {"written", counts.written},
                {"waiting", counts.waiting},
                {"missing", counts.missing},
                {"fails", counts.fails}};
    }

    admin::Registration health_;
    admin::Registration consumers_;
    admin::Registration naming_;
    admin::Registration alive_;
    admin::Registration readiness_;
    admin::Registration status_;
    admin::Registration configuration_;
    admin::Registration reload_;
    admin::Registration threads_;
    admin::Registration parts_;
    admin::Registration version_;
    admin::Registration requests_;
    HostConditions conditions_;
    HostParts hostParts_;
    HostMetrics hostMetrics_;
    admin::Registration metrics_ = admin::Registry::instance().enterText(
        "/metrics", kMetricsType, [] { return metricsText(admin::Metrics::instance().current()); });
    std::optional<AdminServer> server_;
    std::optional<NetworkServer> network_;
};

/// Whether the naming service is available. An embedded one answers once the bundle that starts the
/// ORB has started.
bool isNamingServed() {
    return !ConfigStore::instance().flag("naming.embedded") ||
           NS_CORBA::CorbaBaseAgentConfig::Instance()->IsNamingServiceEmbedded();
}

/// Warn of managers that are offered to NMS but that no bundle implements. This happens when a
/// configuration lists all bundles of an older version and so lacks a newer one.
void warnOfMissingManagers() {
    const NS_CORBA::NorthMgrMap* const there =
        NS_CORBA::CorbaBaseAgentConfig::Instance()->GetNorthMgrMap();
    std::string missing;
    for (const std::string& name : ConfigStore::instance().texts("managers.offered")) {
        if (there == nullptr || !there->contains(name))
            missing += (missing.empty() ? "" : ", ") + name;
    }
    if (!missing.empty())
        trace(__LINE__,
              "warning: [managers] offered names managers that no bundle in [bundles] load has (" +
                  missing + "); kelp_unimplemented serves those that no other bundle implements");
}

void runUntilStopped(SignalWatch& signals) {
    const std::string address =
        isNamingServed() ? configuredNamingAddress() : "nowhere: no bundle serves it";
    trace(__LINE__, "the naming service is at " + address);
    warnOfMissingManagers();
    const std::string whyNotFound = awaitFactoryEntry(signals);
    std::optional<ReadinessWatch> readiness;
    if (!signals.isStopAskedFor()) {
        trace(__LINE__, "kelpd is ready");
        if (whyNotFound.empty())
            tellReady("ready, naming service at " + address);
        else
            readiness.emplace(address);
    }
    while (signals.next() == SignalWatch::Event::Reload)
        reloadConfiguration();
    readiness.reset();
    tellStopping();
    trace(__LINE__, "kelpd stops");
    NS_CORBA::AgentServer::BeginStop();
}

/// The watch over this process's certificate, if it has one.
class CertificateUse {
  public:
    CertificateUse() {
        const ConfigStore& config = ConfigStore::instance();
        if (config.integer("tls.mode") != 0)
            watch_.emplace(config.text("tls.certificate"), config.text("tls.crl"));
    }

  private:
    std::optional<CertificateWatch> watch_;
};

/// The objects are declared in the order of the start. The stop is the reverse.
void startAndRun(const std::filesystem::path& configFile, SignalWatch& signals) {
    const AuditUse audit(configFile);
    const CatalogueUse catalogue(configFile);
    prepareNaming();
    const BundlesUse bundles;
    const AdminUse adminInterface;
    const CertificateUse certificate;
    const Watchdog watchdog;
    runUntilStopped(signals);
}

[[noreturn]] void stopAtOnce() {
    trace(__LINE__, "kelpd has received a second stop signal and ends at once");
    ::alarm(2);  // the fault that blocked the stop may also block the writing of the trace
    util::TraceLog::instance().close();
    ::_exit(kInternalError);
}

}  // namespace

int checkConfiguration(const Options& options) {
    const std::filesystem::path file = configFileOf(options);
    auto problems = file.empty() ? std::vector<ConfigProblem>() : ConfigStore::check(file);
    if (problems.empty())
        problems = loadConfiguration(file);
    tellProblems(problems);
    if (!problems.empty())
        return kConfigurationError;
    if (file.empty())
        std::cout << "no configuration file; the defaults apply\n";
    else
        std::cout << file.string() << ": no problems found\n";
    return kStopped;
}

int runService(const Options& options) {
    SignalWatch signals(stopAtOnce);
    const std::filesystem::path configFile = configFileOf(options);
    if (const auto problems = loadConfiguration(configFile); !problems.empty()) {
        tellProblems(problems);
        return kConfigurationError;
    }
    applyProcessSettings();
    const TraceUse traceUse;
    if (!traceUse.isOpen())
        return kConfigurationError;
    trace(__LINE__, std::string("kelpd " KELP_VERSION " starts with ") +
                        (configFile.empty() ? "the default configuration" : configFile.string()));
    warnOfRoot();
    try {
        startAndRun(configFile, signals);
    } catch (const StartFailure& failure) {
        trace(__LINE__, "kelpd cannot start: " + failure.why);
        return failure.exitCode;
    }
    trace(__LINE__, "kelpd has stopped");
    return kStopped;
}

}  // namespace kelp::host
