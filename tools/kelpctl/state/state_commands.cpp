#include <kelp/util/trace_log.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "admin_client.h"
#include "commands.h"
#include "state/backup.h"
#include "state/restore.h"
#include "state/support_bundle.h"
#include "user_record.h"

namespace kelp::ctl {

namespace {

constexpr const char* kBackupFooter =
    R"(The archive has the accounts, the network, the alarms, the logs with the key of the security log, the ended sessions,
and the configuration with the files that it names. Each database is as it was at one moment. It has password hashes and
private keys: keep it as safe as the host itself.

Examples:
  kelpctl backup /var/backups/kelp-2027-01-31.tar.zst
  kelpctl backup --replace /var/backups/kelp.tar.zst)";

constexpr const char* kRestoreFooter =
    R"(The host must be stopped. Nothing is changed unless the archive is complete and unchanged. The state is replaced as a
whole, in the places that the present configuration names. The configuration is not: --configuration unpacks its files
into a new folder.

The restored state continues at the time of the backup. The security log records the restore.

Examples:
  kelpctl restore /var/backups/kelp-2027-01-31.tar.zst
  kelpctl restore --keep kelp.tar.zst                       keeps the present state
  kelpctl restore --undo                                    puts it back
  kelpctl restore --configuration ./old-configuration kelp.tar.zst)";

constexpr const char* kSupportFooter =
    R"(The archive has the answers of the host to status, version, sessions, naming and consumers, the configuration in use,
the end of the trace file, sizes of files and disks, and limits of the kernel. It has no passwords, password hashes,
keys, tokens or communities, but user names and addresses. If the host does not run it has what is in files.

Example:
  kelpctl support-bundle kelp-support.tar.zst)";

constexpr std::size_t kTraceMibMax = 500;

struct StateOptions {
    explicit StateOptions(const GlobalOptions& global) : globalOptions(global) {}

    state::Existing existing() const {
        return replace ? state::Existing::IsReplaced : state::Existing::IsRefused;
    }

    const GlobalOptions& globalOptions;
    std::string archive;
    std::string configuration;
    std::size_t traceMib = 10;
    bool replace = false;
    bool keep = false;
    bool undo = false;
};

std::string sizeText(std::uint64_t bytes) {
    constexpr std::uint64_t kMib = 1u << 20;
    return bytes < kMib ? std::to_string((bytes >> 10) + 1) + " KiB"
                        : std::to_string(bytes / kMib) + " MiB";
}

void printManifest(const std::string& what, const state::Manifest& manifest) {
    std::printf("%s: %zu files, %s\n", what.c_str(), manifest.files.size(),
                sizeText(manifest.bytes()).c_str());
    for (const std::string& each : manifest.leftOut)
        std::fprintf(stderr, "kelpctl: left out: %s\n", util::escaped(each).c_str());
}

void backUp(const StateOptions& options) {
    loadConfiguration(options.globalOptions);
    printManifest(options.archive,
                  state::backUp(state::configuredLayout(), options.archive, options.existing()));
}

void collectSupport(const StateOptions& options) {
    loadConfiguration(options.globalOptions);
    state::SupportRequest request;
    request.traceBytesMax = options.traceMib << 20;
    request.ask = [](const std::string& path, bool& isRunning) {
        try {
            return AdminClient(admin::configuredAddress()).get(path);
        } catch (const RequestRefused&) {
            throw;
        } catch (const std::exception&) {
            isRunning = false;
            throw;
        }
    };
    printManifest(options.archive, state::collectSupport(state::configuredLayout(), options.archive,
                                                         options.existing(), request));
}

/// Note in the security log, which is the restored one, what has happened.
void recordRestore(const std::string& what) {
    recorded({"(all)", what}, [] {});
}

void undo(const StateOptions& options) {
    if (!options.archive.empty() || options.keep || !options.configuration.empty())
        throw std::runtime_error("--undo has no archive and no other options");
    state::undoRestore(state::configuredLayout());
    std::printf("the files from before the last restore are in their places again\n");
    recordRestore("restore --undo");
}

void restore(const StateOptions& options) {
    loadConfiguration(options.globalOptions);
    if (options.undo) {
        undo(options);
        return;
    }
    if (options.archive.empty())
        throw std::runtime_error("name the archive to restore, or give --undo");
    const state::RestoreResult result = state::restoreState(
        state::configuredLayout(), {options.archive, options.configuration, options.keep});
    const std::string created = util::escaped(result.manifest.created);
    std::printf("restored the state of %s from %s: %zu files, %s\n", created.c_str(),
                options.archive.c_str(), result.manifest.files.size(),
                sizeText(result.manifest.bytes()).c_str());
    for (const std::filesystem::path& each : result.previous)
        std::printf("the previous state is in %s\n", each.c_str());
    recordRestore("restore of the state of " + created);
}

void addArchiveOptions(CLI::App& command, const std::shared_ptr<StateOptions>& options) {
    command.add_option("file", options->archive, "Archive to write")->required()->type_name("FILE");
    command.add_flag("--replace", options->replace, "Replace the file if it exists");
}

}  // namespace

void addStateCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<StateOptions>(globalOptions);
    CLI::App* backup = app.add_subcommand("backup",
                                          "Write the state into an archive, while the "
                                          "host runs or not");
    backup->fallthrough()->footer(kBackupFooter);
    addArchiveOptions(*backup, options);
    backup->callback([options] { backUp(*options); });

    CLI::App* restoring =
        app.add_subcommand("restore", "Replace the state of a stopped host by that of a backup");
    restoring->fallthrough()->footer(kRestoreFooter);
    restoring->add_option("file", options->archive, "Archive to restore")->type_name("FILE");
    restoring
        ->add_option("--configuration", options->configuration,
                     "New folder for the configuration files of the archive")
        ->type_name("FOLDER");
    restoring->add_flag("--keep", options->keep, "Keep the state that is replaced");
    restoring->add_flag("--undo", options->undo,
                        "Put back the state from before a restore that kept it or was interrupted");
    restoring->callback([options] { restore(*options); });

    CLI::App* support =
        app.add_subcommand("support-bundle", "Collect what support needs to know, without secrets");
    support->fallthrough()->footer(kSupportFooter);
    addArchiveOptions(*support, options);
    support
        ->add_option("--trace-mib", options->traceMib,
                     "Maximum size of the trace's end, in MiB; default: 10")
        ->type_name("NUMBER")
        ->check(CLI::Range(std::size_t{0}, kTraceMibMax));
    support->callback([options] { collectSupport(*options); });
}

}  // namespace kelp::ctl
