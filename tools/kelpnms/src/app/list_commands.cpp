#include "app/list_commands.h"

#include <map>

namespace kelp::nms {

namespace {

constexpr const char* kRowsFooter =
    R"(Formats:
  table  fits the terminal's width; elsewhere no text is cut
  csv    RFC 4180, with every attribute of the standard's structures; a list, such as a name, is JSON in its cell
  json   one object a line, with every attribute of the standard's structures

The list is read in batches, and each batch is written as soon as it arrives. If the list cannot be read to its end,
standard error says how much was written and with which element to go on.)";

constexpr const char* kDumpFooter =
    R"(Each line is a JSON object. Its key "object" says what it is. First comes the EMS, then every top-level
MultiLayerSubnetwork and every ManagedElement. Then comes, element by element, its EquipmentHolder and Equipment and
its TerminationPoint objects (ports). The TopologicalLink objects come last. Attributes have the standard's names. The
name of an object is a list of names and values.

With FILE, the lines are written to FILE.partial, which is renamed to FILE when it is complete. If a dump is cut
short, FILE.partial contains complete elements only, and standard error names the element to go on with. This command
goes on with FILE.partial:
  kelpnms ... dump network.jsonl --from NE-4711

Without FILE, the output of a command with --from follows the lines that were written before. Some lines of that
element may have been written already; standard error says how many.)";

const std::map<std::string, Format> kFormats = {
    {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};

CLI::App* addListCommand(CLI::App& app, Options& options, const char* name, const char* what,
                         Command which) {
    CLI::App* command =
        app.add_subcommand(name, what)->callback([&options, which] { options.command = which; });
    command->add_option("--batch", options.lists.batch, "Number of entries to request in each call")
        ->capture_default_str()
        ->check(CLI::Range(1u, 4294967295u));
    return command;
}

void addFrom(CLI::App& command, Options& options, const char* what) {
    command.add_option("--from", options.lists.from, what)->type_name("ELEMENT");
}

void addRows(CLI::App& command, Options& options) {
    command
        .add_option("--format", options.lists.format,
                    "table, csv or json (json is the same as --json)")
        ->transform(CLI::CheckedTransformer(kFormats).description(""))
        ->type_name("FORMAT")
        ->default_str("table");
    command.footer(kRowsFooter);
}

void addElements(CLI::App& command, Options& options) {
    command.add_option(
        "ELEMENT", options.lists.elements,
        "Value of the component ManagedElement of the element's name; default: every element");
    addFrom(command, options, "Begin with this element");
}

}  // namespace

void addListCommands(CLI::App& app, Options& options) {
    CLI::App* elements = addListCommand(app, options, "elements",
                                        "Log in and list the managed elements", Command::Elements);
    addFrom(*elements, options, "Begin with this element");
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
    dump->add_option("FILE", options.lists.file, "File to write; default: standard output");
    addFrom(*dump, options,
            "Begin with the equipment and ports of this element, to go on with a dump that was cut "
            "short");
    dump->footer(kDumpFooter);
}

}  // namespace kelp::nms
