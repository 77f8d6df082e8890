#include <kelp/inventory/generate.h>
#include <kelp/inventory/transfer.h>
#include <kelp/util/json_text.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "commands.h"
#include "common/progress_bar.h"

namespace kelp::ctl {

namespace {

/// Run `body` with a progress bar. The bar is removed before anything else is written.
template <class Body>
auto withProgress(const char* title, Body&& body) {
    tools::ProgressBar bar(title);
    return body([&bar](std::uint64_t done, std::uint64_t total) { bar.show(done, total); });
}

// The callback of each command owns the command's object.

constexpr const char* kFooter =
    R"(An inventory file has one JSON object per line. Its key "object" says what it is: EMS, MultiLayerSubnetwork,
ManagedElement, EquipmentHolder, Equipment, TerminationPoint or TopologicalLink. The keys of an object's name are the
standard's: MultiLayerSubnetwork, ManagedElement, PTP, FTP, CTP, EquipmentHolder, Equipment, TopologicalLink, and
aEndPTP, zEndPTP and so on for the ends of a link. The keys of its attributes are the standard's too: userLabel,
nativeEMSName, transmissionParams and so on. An element's key "subnetworks" lists the names of its subnetworks. The
EMS has only userLabel, owner and additionalInfo, because its names are configured.

An inventory can also be a folder with the files ManagedElement.csv, EquipmentHolder.csv and so on, whose columns are
these keys. sample-network.jsonl is an example. "export" can write both.

Examples:
  kelpctl inventory import sample-network.jsonl --dry-run
  kelpctl inventory import network/ --replace
  kelpctl inventory export network.jsonl
  kelpctl inventory export --csv network/
  kelpctl inventory stats
  kelpctl inventory generate --elements 1000 --ports 20000 --seed 7 --replace)";

/// The option for the inventory's database: the file that was given, or the configured one.
struct InventoryOption {
    explicit InventoryOption(const GlobalOptions& global) : globalOptions(global) {}

    void addTo(CLI::App& command) {
        command.add_option("--database", file, "Database of the inventory; default: as configured")
            ->type_name("FILE");
    }
    std::filesystem::path database() const {
        loadConfiguration(globalOptions);
        return file.empty() ? inventory::configuredInventory() : std::filesystem::path(file);
    }

    const GlobalOptions& globalOptions;
    std::string file;
};

struct ImportCommand : std::enable_shared_from_this<ImportCommand> {
    explicit ImportCommand(const GlobalOptions& global) : where(global) {}

    void addTo(CLI::App& group) {
        CLI::App* command = group.add_subcommand(
            "import", "Import all objects of a file or folder, or none if one of them is wrong");
        command->fallthrough();
        where.addTo(*command);
        command
            ->add_option("SOURCE", source, "File of JSON lines, CSV file, or folder of CSV files")
            ->required();
        command->add_flag("--dry-run", options.dryRun, "Check everything, change nothing");
        command->add_flag(
            "--replace", options.replace,
            "Remove everything first; without it, objects with the same name are updated");
        command->callback([self = shared_from_this()] { self->run(); });
    }

    void run() {
        const std::filesystem::path database = where.database();
        const inventory::ImportResult result =
            withProgress("importing", [&](const inventory::Progress& progress) {
                options.progress = progress;
                return inventory::importInventory(database, source, options);
            });
        for (const inventory::ImportProblem& problem : result.problems)
            std::fprintf(stderr, "%s\n", problem.text().c_str());
        if (result.problemCount > result.problems.size())
            std::fprintf(
                stderr, "and %llu more\n",
                static_cast<unsigned long long>(result.problemCount - result.problems.size()));
        if (result.problemCount > 0)
            throw std::runtime_error(
                "nothing was imported: " + std::to_string(result.problemCount) + " problem(s)");
        std::printf("%s%llu object(s) added, %llu updated\n", options.dryRun ? "dry run: " : "",
                    static_cast<unsigned long long>(result.added),
                    static_cast<unsigned long long>(result.updated));
    }

    InventoryOption where;
    std::string source;
    inventory::ImportOptions options;
};

struct ExportCommand : std::enable_shared_from_this<ExportCommand> {
    explicit ExportCommand(const GlobalOptions& global) : where(global) {}

    void addTo(CLI::App& group) {
        CLI::App* command = group.add_subcommand("export", "Write the whole inventory");
        command->fallthrough();
        where.addTo(*command);
        command
            ->add_option("TARGET", target,
                         "File of JSON lines, or with --csv a folder; - is standard output")
            ->required();
        command->add_flag("--csv", csv, "Write a folder of CSV files");
        command->callback([self = shared_from_this()] { self->run(); });
    }

    void run() {
        const std::filesystem::path database = where.database();
        withProgress("exporting", [&](const inventory::Progress& progress) {
            if (csv)
                inventory::exportCsv(database, target, progress);
            else if (target == "-")
                inventory::exportJsonLines(database, std::cout, progress);
            else
                writeFile(database, progress);
        });
    }

    /// Write the file. An existing file is kept until the new one is complete.
    void writeFile(const std::filesystem::path& database, const inventory::Progress& progress) {
        const std::filesystem::path partial = target + ".partial";
        try {
            std::ofstream out(partial, std::ios::binary | std::ios::trunc);
            if (!out)
                throw std::runtime_error(target + " cannot be written");
            inventory::exportJsonLines(database, out, progress);
            out.close();
            if (!out)
                throw std::runtime_error(target + " cannot be written");
            std::filesystem::rename(partial, target);
        } catch (const std::exception&) {
            std::error_code ignored;
            std::filesystem::remove(partial, ignored);
            throw;
        }
    }

    InventoryOption where;
    std::string target;
    bool csv = false;
};

void printTable(const inventory::Statistics& counts) {
    const auto print = [](const char* title, std::uint64_t count) {
        std::printf("%-24s %12llu\n", title, static_cast<unsigned long long>(count));
    };
    print("managed elements", counts.elements);
    for (const auto& [product, count] : counts.elementsByProduct)
        print(("  " + product).c_str(), count);
    print("multilayer subnetworks", counts.subnetworks);
    print("equipment holders", counts.holders);
    print("equipment", counts.equipment);
    print("physical ports (PTP)", counts.ptps);
    print("floating ports (FTP)", counts.ftps);
    print("connection points (CTP)", counts.ctps);
    print("topological links", counts.links);
    std::printf("%-24s %12.1f MiB\n", "database",
                static_cast<double>(counts.fileBytes) / (1 << 20));
}

void printJson(const inventory::Statistics& counts) {
    nlohmann::ordered_json products = nlohmann::ordered_json::object();
    for (const auto& [product, count] : counts.elementsByProduct)
        products[product] = count;
    const nlohmann::ordered_json answer = {{"managedElements", counts.elements},
                                           {"managedElementsByProduct", products},
                                           {"subnetworks", counts.subnetworks},
                                           {"equipmentHolders", counts.holders},
                                           {"equipment", counts.equipment},
                                           {"ptps", counts.ptps},
                                           {"ftps", counts.ftps},
                                           {"ctps", counts.ctps},
                                           {"topologicalLinks", counts.links},
                                           {"databaseBytes", counts.fileBytes}};
    std::printf("%s\n", util::jsonText(answer, 2).c_str());
}

struct StatsCommand : std::enable_shared_from_this<StatsCommand> {
    explicit StatsCommand(const GlobalOptions& global) : where(global) {}

    void addTo(CLI::App& group) {
        CLI::App* command = group.add_subcommand("stats", "Count the objects");
        command->fallthrough();
        where.addTo(*command);
        command->add_flag("--json", json, "Write the counts as JSON");
        command->callback([self = shared_from_this()] { self->run(); });
    }

    void run() {
        inventory::Inventory inventory(where.database(), inventory::Inventory::Missing::IsAnError);
        const inventory::Statistics counts = inventory.statistics();
        if (json)
            printJson(counts);
        else
            printTable(counts);
    }

    InventoryOption where;
    bool json = false;
};

struct GenerateCommand : std::enable_shared_from_this<GenerateCommand> {
    explicit GenerateCommand(const GlobalOptions& global) : where(global) {}

    void addTo(CLI::App& group) {
        CLI::App* command =
            group.add_subcommand("generate",
                                 "Generate a plausible network for tests and demonstrations; the "
                                 "same options give the same network on every machine");
        command->fallthrough();
        where.addTo(*command);
        command->add_option("--elements", plan.elements, "Number of managed elements")
            ->required()
            ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1'000'000}));
        command->add_option("--ports", plan.ports, "Number of ports (PTP) of all elements together")
            ->required()
            ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{100'000'000}));
        command->add_option("--seed", plan.seed, "Number that selects the network; default: 1");
        command
            ->add_option("--ctps", plan.ctpsPerLine,
                         "Number of connection points (CTP) in each port of a line; default: 0")
            ->check(CLI::Range(0u, 16u));
        command->add_flag("--replace", plan.replace,
                          "Remove everything first; without it, the inventory must be empty");
        command->callback([self = shared_from_this()] { self->run(); });
    }

    void run() {
        const std::filesystem::path database = where.database();
        const inventory::Statistics counts =
            withProgress("generating", [&](const inventory::Progress& progress) {
                return inventory::generateNetwork(database, plan, progress);
            });
        std::printf("%llu managed element(s), %llu port(s), %llu link(s)\n",
                    static_cast<unsigned long long>(counts.elements),
                    static_cast<unsigned long long>(counts.ptps),
                    static_cast<unsigned long long>(counts.links));
    }

    InventoryOption where;
    inventory::NetworkPlan plan;
};

}  // namespace

void addInventoryCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    CLI::App* group = app.add_subcommand(
        "inventory",
        "Manage the inventory: subnetworks, managed elements, equipment, ports and links");
    group->require_subcommand(1)->fallthrough()->footer(kFooter);
    std::make_shared<ImportCommand>(globalOptions)->addTo(*group);
    std::make_shared<ExportCommand>(globalOptions)->addTo(*group);
    std::make_shared<StatsCommand>(globalOptions)->addTo(*group);
    std::make_shared<GenerateCommand>(globalOptions)->addTo(*group);
}

}  // namespace kelp::ctl
