#include "app/list_commands.h"

#include <map>

namespace kelp::nms {

namespace {

constexpr const char* kRowsFooter =
    R"(table fits the terminal; elsewhere nothing of it is cut. csv (RFC 4180) and json (an object a line) have every
attribute of the standard's structures. Lists, names among them, stand in a CSV cell as JSON.

The list is read batch by batch and written as it comes. When it cannot be read to its end, standard error says how
far it came and which element to go on with.)";

constexpr const char* kDumpFooter =
    R"(Each line is a JSON object, whose "object" says what it is: the EMS, then every MultiLayerSubnetwork of the
top level, every ManagedElement, element by element its EquipmentHolder and Equipment and its TerminationPoint
(ports), and every TopologicalLink. Attributes have the standard's names; names of objects are lists of name and value.

With FILE the lines are gathered in FILE.partial, which becomes FILE when it is whole. A dump that was cut short leaves
FILE.partial with whole elements only, and standard error names the element to go on with:

  kelpnms ... dump network.jsonl --from NE-4711

goes on with FILE.partial. Without FILE the lines from that element on follow those that were written before; of the
element itself some may have been written already, standard error says how many.)";

const std::map<std::string, Format> kFormats = {
    {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};

CLI::App* addListCommand(CLI::App& app, Options& options, const char* name, const char* what,
                         Command which) {
    CLI::App* command =
        app.add_subcommand(name, what)->callback([&options, which] { options.command = which; });
    command->add_option("--batch", options.lists.batch, "Entries to ask for at a time")
        ->capture_default_str()
        ->check(CLI::Range(1u, 4294967295u));
    return command;
}

void addFrom(CLI::App& command, Options& options, const char* what) {
    command.add_option("--from", options.lists.from, what)->type_name("ELEMENT");
}

void addRows(CLI::App& command, Options& options) {
    command
        .add_option("--format", options.lists.format, "table, csv, or json (the same as --json)")
        ->transform(CLI::CheckedTransformer(kFormats).description(""))
        ->type_name("FORMAT")
        ->default_str("table");
    command.footer(kRowsFooter);
}

void addElements(CLI::App& command, Options& options) {
    command.add_option("ELEMENT", options.lists.elements,
                       "Value of the name's component ManagedElement; none: every element");
    addFrom(command, options, "Leave out the elements before this one");
}

}  // namespace

void addListCommands(CLI::App& app, Options& options) {
    CLI::App* elements = addListCommand(app, options, "elements",
                                        "Log in and list the managed elements", Command::Elements);
    addFrom(*elements, options, "Leave out the elements before this one");
    addRows(*elements, options);

    CLI::App* ports = addListCommand(
        app, options, "ports", "Log in and list the elements' ports (PTP and FTP)", Command::Ports);
    addElements(*ports, options);
    addRows(*ports, options);

    CLI::App* equipment = addListCommand(app, options, "equipment",
                                         "Log in and list the elements' equipment and its holders",
                                         Command::Equipment);
    addElements(*equipment, options);
    addRows(*equipment, options);

    CLI::App* links =
        addListCommand(app, options, "links",
                       "Log in and list the topological links between elements", Command::Links);
    addRows(*links, options);

    CLI::App* dump = addListCommand(
        app, options, "dump", "Log in and write the whole network as JSON lines", Command::Dump);
    dump->add_option("FILE", options.lists.file, "Where to; default: standard output");
    addFrom(*dump, options,
            "Go on with this element: what comes before its equipment and ports is left out");
    dump->footer(kDumpFooter);
}

}  // namespace kelp::nms
