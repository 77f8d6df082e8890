#include <kelp/alarms/enum_names.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/traps/mapping.h>
#include <kelp/util/peer_address.h>
#include <kelp/util/trace_log.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"

namespace kelp::ctl {

namespace {

constexpr const char* kFooter = R"(Each problem is printed with file, line and key.

Examples:
  kelpctl snmp check-mapping standard.toml
  kelpctl snmp check-mapping standard.toml --trap OID=1.3.6.1.6.3.1.1.5.3 1.3.6.1.2.1.2.2.1.1.4=4)";

struct CheckMappingOptions {
    std::vector<std::string> files;
    std::vector<std::string> trap;
    std::string from = "192.0.2.1";
};

traps::Oid readOid(const std::string& text) {
    const std::optional<traps::Oid> oid = traps::Oid::parse(text);
    if (!oid)
        throw std::runtime_error("\"" + util::escaped(text, 100) +
                                 "\" is not an OID in numbers, such as 1.3.6.1.6.3.1.1.5.3");
    return *oid;
}

/// Read "OID=1.3..." and "OID=VALUE" for each variable binding.
traps::Trap readTrap(const CheckMappingOptions& options) {
    traps::Trap trap;
    trap.address = util::parseHostAddress(options.from).text;
    if (trap.address.empty())
        throw std::runtime_error("\"" + util::escaped(options.from, 100) + "\" is not an address");
    for (const std::string& each : options.trap) {
        const std::size_t equals = each.find('=');
        if (equals == std::string::npos)
            throw std::runtime_error("\"" + util::escaped(each, 100) +
                                     "\" must have the form OID=VALUE");
        const std::string name = each.substr(0, equals);
        const std::string value = each.substr(equals + 1);
        if (name == "OID")
            trap.oid = readOid(value);
        else
            trap.varBinds.push_back({readOid(name), value});
    }
    if (trap.oid.components().empty())
        throw std::runtime_error("--trap needs the trap's own OID, as OID=1.3.6.1.6.3.1.1.5.3");
    return trap;
}

void printField(const char* name, const std::string& value) {
    std::printf("%-24s %s\n", name, util::escaped(value).c_str());
}

void printAlarm(const traps::Translation& translation) {
    const alarms::Alarm& alarm = translation.alarm;
    std::string name;
    for (const auto& [component, value] : alarm.objectName)
        name += (name.empty() ? "" : ", ") + component + "=" + value;
    if (!translation.whyUnknown.empty())
        printField("unknown trap", translation.whyUnknown);
    printField("objectName", name);
    printField("objectType",
               alarms::objectTypeNames().at(static_cast<std::size_t>(alarm.objectType)));
    printField("nativeEMSName", alarm.nativeEMSName);
    printField("layerRate", std::to_string(alarm.layerRate));
    printField("probableCause", alarm.probableCause);
    printField("probableCauseQualifier", alarm.probableCauseQualifier);
    printField("nativeProbableCause", alarm.nativeProbableCause);
    printField("perceivedSeverity",
               alarms::severityNames().at(static_cast<std::size_t>(alarm.perceivedSeverity)));
    printField("serviceAffecting", alarms::serviceAffectingNames().at(
                                       static_cast<std::size_t>(alarm.serviceAffecting)));
    printField("isClearable", alarm.isClearable ? "true" : "false");
    printField("X.733::EventType", alarm.eventType);
    printField("additionalText", alarm.additionalText);
    for (const auto& [key, value] : alarm.additionalInfo)
        printField("additionalInfo", key + "=" + value);
}

void checkMapping(const CheckMappingOptions& options) {
    std::vector<traps::MappingProblem> problems;
    const traps::Mapping mapping =
        traps::Mapping::read({options.files.begin(), options.files.end()}, problems);
    for (const traps::MappingProblem& each : problems)
        std::fprintf(stderr, "%s\n", each.text().c_str());
    if (!problems.empty())
        throw std::runtime_error(std::to_string(problems.size()) +
                                 (problems.size() == 1 ? " problem" : " problems"));
    if (options.trap.empty()) {
        for (const std::string& line : mapping.summary())
            std::printf("%s\n", util::escaped(line).c_str());
        return;
    }
    printAlarm(mapping.translate(readTrap(options),
                                 NS_BUNDLEMGR1::ConfigStore::instance().text("ems.name")));
}

}  // namespace

void addSnmpCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    CLI::App* const group = app.add_subcommand("snmp", "Check what becomes of SNMP traps");
    group->require_subcommand(1);
    auto options = std::make_shared<CheckMappingOptions>();
    CLI::App* const check =
        group
            ->add_subcommand("check-mapping",
                             "Check mapping files, and show which alarms traps become")
            ->fallthrough();
    check->footer(kFooter);
    check->add_option("FILE", options->files, "Mapping files")->required()->type_name("FILE");
    check
        ->add_option("--trap", options->trap,
                     "Show the alarm of this trap: OID=, then OID=VALUE for each variable binding")
        ->type_name("OID=TRAP OID=VALUE");
    check->add_option("--from", options->from, "The trap's sender; default: 192.0.2.1")
        ->type_name("ADDRESS");
    check->callback([options, &globalOptions] {
        loadConfiguration(globalOptions);
        checkMapping(*options);
    });
}

}  // namespace kelp::ctl
