#include <kelp/ior/corbaloc.h>
#include <kelp/ior/reference_content.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"

namespace kelp::ctl {

namespace {

constexpr const char* kFooter =
    R"(REFERENCE is an IOR, a corbaloc or a corbaname text, or a file (also as file:///PATH) whose content is one. Nobody is
called: the command shows what the text says, not whether somebody answers there.

Examples:
  kelpctl ior kelp.ior
  kelpctl ior corbaname::ems.example.net:2809#TMF_MTNM
  kelpctl ior --json IOR:0100...)";

/// Maximum content of a file. The longest reference that is decoded has half as many bytes.
constexpr std::size_t kFileOctetsMax = std::size_t{256} * 1024;

struct IorOptions {
    std::string reference;
    bool json = false;
};

/// What a text says, whatever its form.
struct Dialled {
    std::string form;
    std::string typeId;
    std::string iiopVersion;
    std::vector<ior::Endpoint> endpoints;
    std::string objectKey;  ///< printable
    std::string name;       ///< of a corbaname text
};

bool hasScheme(const std::string& text, const std::string& scheme) {
    return text.size() >= scheme.size() &&
           std::equal(scheme.begin(), scheme.end(), text.begin(), [](char a, char b) {
               return a == std::tolower(static_cast<unsigned char>(b));
           });
}

bool isReferenceText(const std::string& text) {
    return hasScheme(text, "ior:") || hasScheme(text, "corbaloc:") || hasScheme(text, "corbaname:");
}

std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t from = text.find_first_not_of(kBlanks);
    return from == std::string::npos ? ""
                                     : text.substr(from, text.find_last_not_of(kBlanks) + 1 - from);
}

std::string contentOfFile(const std::string& path) {
    std::error_code error;
    std::ifstream in(path, std::ios::binary);
    if (!in || std::filesystem::is_directory(path, error))
        throw std::runtime_error("\"" + util::escaped(path, 200) +
                                 "\" is neither a reference nor a file that can be read");
    std::string content(kFileOctetsMax + 1, '\0');
    in.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(in.gcount()));
    if (content.size() > kFileOctetsMax)
        throw std::runtime_error("the file has more than 256 KiB, so it is no reference");
    content = trimmed(content);
    if (!isReferenceText(content))
        throw std::runtime_error("the file contains no reference");
    return content;
}

std::string textOf(const std::string& given) {
    if (isReferenceText(given))
        return given;
    const std::string scheme = "file://";
    return contentOfFile(hasScheme(given, scheme) ? given.substr(scheme.size()) : given);
}

/// Printable ASCII, with %XX for each other byte and for the percent sign.
std::string printableKey(const std::string& key) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string shown;
    for (const char c : key) {
        const auto octet = static_cast<unsigned char>(c);
        if (octet > 0x20 && octet < 0x7f && c != '%')
            shown += c;
        else
            shown += {'%', kDigits[octet >> 4], kDigits[octet & 15]};
    }
    return shown;
}

Dialled dialledOf(const std::string& text) {
    if (hasScheme(text, "ior:")) {
        ior::ReferenceContent content;
        if (!ior::decodeReference(text, content))
            throw std::runtime_error(
                "the IOR is malformed: it was cut, changed, or is longer than 64 KiB");
        return {"IOR",
                content.typeId,
                content.iiopVersion,
                content.endpoints,
                printableKey(content.objectKey),
                ""};
    }
    ior::CorbalocContent content;
    if (const std::string problem = ior::readCorbaloc(text, content); !problem.empty())
        throw std::runtime_error("the reference is malformed: " + problem);
    return {content.hasName ? "corbaname" : "corbaloc",
            "",
            content.iiopVersion,
            content.endpoints,
            content.objectKey,
            content.name};
}

void printJson(const Dialled& dialled) {
    nlohmann::json endpoints = nlohmann::json::array();
    for (const ior::Endpoint& each : dialled.endpoints)
        endpoints.push_back({{"host", each.host}, {"port", each.port}, {"tls", each.tls}});
    const nlohmann::json answer = {{"form", dialled.form},
                                   {"typeId", dialled.typeId},
                                   {"iiopVersion", dialled.iiopVersion},
                                   {"addresses", endpoints},
                                   {"objectKey", dialled.objectKey},
                                   {"name", dialled.name}};
    std::printf("%s\n", util::jsonText(answer, 2).c_str());
}

void printLine(const char* what, const std::string& text) {
    if (!text.empty())
        std::printf("%-10s %s\n", what, text.c_str());
}

void printDialled(const Dialled& dialled) {
    printLine("form", dialled.form);
    printLine("type", dialled.typeId);
    printLine("IIOP", dialled.iiopVersion);
    for (const ior::Endpoint& each : dialled.endpoints)
        printLine("address", ior::hostAndPort(each) + (each.tls ? " (TLS)" : ""));
    if (dialled.endpoints.empty())
        printLine("address", "none: no peer can be dialled");
    printLine("key", dialled.objectKey);
    printLine("name", dialled.name);
}

}  // namespace

void addIorCommand(CLI::App& app) {
    const auto options = std::make_shared<IorOptions>();
    CLI::App* command =
        app.add_subcommand("ior", "Show which addresses a peer dials that has this reference");
    command->fallthrough()->footer(kFooter);
    command->add_option("REFERENCE", options->reference, "Reference or file")->required();
    command->add_flag("--json", options->json, "Write the answer as JSON");
    command->callback([options] {
        const Dialled dialled = dialledOf(textOf(options->reference));
        if (options->json)
            printJson(dialled);
        else
            printDialled(dialled);
    });
}

}  // namespace kelp::ctl
