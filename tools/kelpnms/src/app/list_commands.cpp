#include "app/list_commands.h"

#include <map>
#include <memory>

#include "dumps/follow_dump.h"
#include "upload/list_options.h"
#include "upload/network_dump.h"
#include "upload/network_lists.h"
#include "upload/upload.h"

namespace kelp::nms {

namespace {

constexpr const char* kRowsFooter =
    R"(Formats:
  table  fits the terminal's width; elsewhere no text is cut
  csv    RFC 4180, with every attribute of the standard's structures; a list, such as a name, is JSON in its cell
  json   one object a line, with every attribute of the standard's structures

The list is read in batches, and each batch is written as soon as it arrives. If the list cannot be read to its end,
standard error says how much was written and with which element to continue.)";

constexpr const char* kDumpFooter =
    R"(Each line is a JSON object. Its key "object" says what it is. First comes the EMS, then every top-level
MultiLayerSubnetwork and every ManagedElement. Then comes, element by element, its EquipmentHolder and Equipment and
its TerminationPoint objects (ports). The TopologicalLink objects come last. Attributes have the standard's names. The
name of an object is a list of names and values.

With FILE, the lines are written to FILE.partial, which is renamed to FILE when it is complete. If a dump is cut
short, FILE.partial contains complete elements only, and standard error names the element to go on with. This command
goes on with FILE.partial:
  kelpnms ... dump network.jsonl --from NE-4711

With --follow, FILE is replaced as a whole whenever the network has changed, at most once a second. New objects follow
the others of their kind. After a loss of events or of the connection, the network is dumped again. Ctrl-C ends it.

Without FILE, the output of a command with --from follows the lines that were written before. Some lines of that
element may have been written already; standard error says how many.)";

const std::map<std::string, Format> kFormats = {
    {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};

void addBatch(CLI::App& command, std::uint32_t& batch) {
    command.add_option("--batch", batch, "Number of entries to request in each call")
        ->capture_default_str()
        ->check(CLI::Range(1u, 4294967295u));
}

void addFrom(CLI::App& command, std::optional<std::string>& from, const char* what) {
    command.add_option("--from", from, what)->type_name("ELEMENT");
}

void addRows(CLI::App& command, Format& format) {
    command.add_option("--format", format, "table, csv or json (json is the same as --json)")
        ->transform(CLI::CheckedTransformer(kFormats).description(""))
        ->type_name("FORMAT")
        ->default_str("table");
    command.footer(kRowsFooter);
}

void addElements(CLI::App& command, ListOptions& options) {
    command.add_option(
        "ELEMENT", options.elements,
        "Value of the component ManagedElement of the element's name; default: every element");
    addFrom(command, options.from, "Begin with this element");
}

int list(const CommandContext& context, ListKind kind, ListOptions options) {
    if (context.options.json)
        options.format = Format::Json;
    return upload(context, contentOf(kind), [kind, &options](WalkProgress& progress) {
        return std::make_shared<NetworkLists>(kind, options, progress);
    });
}

int dump(const CommandContext& context, const DumpOptions& options) {
    if (options.follow)
        return followDump(context, options);
    return upload(context, "entries", [&options](WalkProgress& progress) {
        return std::make_shared<NetworkDump>(options, progress);
    });
}

/// A command that lists entries of one kind, and its options.
struct ListCommand {
    CLI::App& command;
    ListOptions& options;
};

ListCommand addList(CLI::App& app, SelectedCommand& selected, ListKind kind, const char* name,
                    const char* what) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App* command = app.add_subcommand(name, what)->callback([&selected, kind, options] {
        selected = {true, [kind, options](const CommandContext& context) {
                        return list(context, kind, *options);
                    }};
    });
    addBatch(*command, options->batch);
    return {*command, *options};
}

void addElementsCommand(CLI::App& app, SelectedCommand& selected) {
    const ListCommand elements = addList(app, selected, ListKind::Elements, "elements",
                                         "Log in and list the managed elements");
    addFrom(elements.command, elements.options.from, "Begin with this element");
    addRows(elements.command, elements.options.format);
}

void addPortsCommand(CLI::App& app, SelectedCommand& selected) {
    const ListCommand ports = addList(app, selected, ListKind::Ports, "ports",
                                      "Log in and list the elements' ports (PTP and FTP)");
    addElements(ports.command, ports.options);
    addRows(ports.command, ports.options.format);
}

void addEquipmentCommand(CLI::App& app, SelectedCommand& selected) {
    const ListCommand equipment =
        addList(app, selected, ListKind::Equipment, "equipment",
                "Log in and list the elements' equipment and its holders");
    addElements(equipment.command, equipment.options);
    addRows(equipment.command, equipment.options.format);
}

void addLinksCommand(CLI::App& app, SelectedCommand& selected) {
    const ListCommand links = addList(app, selected, ListKind::Links, "links",
                                      "Log in and list the topological links between elements");
    addRows(links.command, links.options.format);
}

void addDumpCommand(CLI::App& app, SelectedCommand& selected) {
    const auto options = std::make_shared<DumpOptions>();
    CLI::App* command =
        app.add_subcommand("dump", "Log in and write the whole network as JSON lines");
    addBatch(*command, options->batch);
    CLI::Option* file =
        command->add_option("FILE", options->file, "File to write; default: standard output");
    addFrom(*command, options->from,
            "Begin with the equipment and ports of this element, to go on with a dump that was cut "
            "short");
    command
        ->add_flag("--follow", options->follow,
                   "Stay logged in and keep FILE current through the events of the EMS")
        ->needs(file)
        ->excludes("--from");
    command->footer(kDumpFooter);
    command->callback([&selected, options] {
        selected = {true,
                    [options](const CommandContext& context) { return dump(context, *options); }};
    });
}

}  // namespace

void addListCommands(CLI::App& app, SelectedCommand& selected) {
    addElementsCommand(app, selected);
    addPortsCommand(app, selected);
    addEquipmentCommand(app, selected);
    addLinksCommand(app, selected);
    addDumpCommand(app, selected);
}

}  // namespace kelp::nms
