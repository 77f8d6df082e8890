#include <cstdio>
#include <string>

#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kFooter =
    R"(The host checks the entry every 3 s. In an external naming service, others can write entries too. If the entry is not
exactly this EMS's reference, octet by octet, the host replaces it and records that in the security log
(kelpctl audit --event naming).

Example:
  kelpctl naming)";

void print(const char* what, const std::string& text) {
    std::printf("%-10s %s\n", what, text.c_str());
}

std::string text(const Json& naming, const char* key) {
    return naming.value(key, "");
}

std::string addressOf(const Json& naming) {
    const std::string tls = text(naming, "tlsAddress");
    std::string address = text(naming, "address");
    if (!tls.empty())
        address += (address.empty() ? "" : ", ") + tls + " (TLS)";
    return address;
}

std::string entryOf(const Json& naming) {
    const std::string checked = text(naming, "checked");
    std::string entry = naming.value("ours", false) ? "ours" : "not ours";
    entry += checked.empty() ? ", not checked yet" : ", checked at " + checked;
    if (const std::string failure = text(naming, "failure"); !failure.empty())
        entry += "; the last check failed: " + failure;
    else if (const std::string since = text(naming, "since"); !since.empty())
        entry += ", without a failure since " + since;
    return entry;
}

std::string lastFailureOf(const Json& naming) {
    const std::string at = text(naming, "lastFailureAt");
    return at.empty() ? "none" : text(naming, "lastFailure") + ", at " + at;
}

std::string replacedOf(const Json& naming) {
    const std::uint64_t times = naming.value("replaced", std::uint64_t{0});
    std::string replaced = std::to_string(times) + (times == 1 ? " time" : " times");
    if (times > 0)
        replaced += ", last at " + text(naming, "replacedAt");
    if (const std::string foreign = text(naming, "foreign"); !foreign.empty())
        replaced += "; found there: " + foreign;
    return replaced;
}

void printTable(const Json& naming) {
    print("mode", text(naming, "mode"));
    print("address", addressOf(naming));
    print("path", text(naming, "path"));
    for (const Json& alias : naming.value("aliases", Json::array()))
        print("alias", alias.get<std::string>());
    if (const std::string file = text(naming, "iorFile"); !file.empty())
        print("IOR file", file);
    print("entry", entryOf(naming));
    print("failure", lastFailureOf(naming));
    print("replaced", replacedOf(naming));
    print("reference", text(naming, "reference"));
}

}  // namespace

void addNamingCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    addShowCommand(
        app, globalOptions,
        {.name = "naming",
         .description =
             "Show where NMSs find the session factory, and whether the entry there is this EMS's",
         .footer = kFooter,
         .path = "/naming",
         .table = printTable});
}

}  // namespace kelp::ctl
