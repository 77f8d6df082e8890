#include "state/manifest.h"

#include <kelp/admin/json_text.h>
#include <kelp/oplog/log_entry.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <numeric>
#include <set>
#include <stdexcept>

#include "state/checksum.h"

namespace kelp::state {

namespace {

using admin::Json;

constexpr int kFormat = 1;
constexpr std::size_t kFilesMax = 4000;
/// No file system has larger files. Sums of sizes stay below 2^64.
constexpr std::uint64_t kFileBytesMax = std::uint64_t{1} << 50;
constexpr std::size_t kShownName = 100;

[[noreturn]] void refuseManifest(const std::string& why) {
    throw std::runtime_error("the manifest of the archive " + why);
}

/// A member of an object, which must be a text.
std::string textIn(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        refuseManifest(std::string("has no text \"") + key + "\"");
    return found->get<std::string>();
}

ManifestFile fileIn(const Json& object) {
    if (!object.is_object())
        refuseManifest("has a file that is not an object");
    ManifestFile file{textIn(object, "name"), 0, textIn(object, "sha256"),
                      textIn(object, "origin")};
    const auto bytes = object.find("bytes");
    if (bytes == object.end() || !bytes->is_number_unsigned() ||
        bytes->get<std::uint64_t>() > kFileBytesMax)
        refuseManifest("has a file without a possible size");
    file.bytes = bytes->get<std::uint64_t>();
    if (!isChecksum(file.sha256))
        refuseManifest("has a file without a checksum");
    return file;
}

Json parsed(const std::string& text) {
    try {
        return admin::parseJson(text);
    } catch (const std::exception& failure) {
        refuseManifest(std::string("cannot be read: ") + failure.what());
    }
}

}  // namespace

std::uint64_t Manifest::bytes() const {
    return std::accumulate(
        files.begin(), files.end(), std::uint64_t{0},
        [](std::uint64_t sum, const ManifestFile& each) { return sum + each.bytes; });
}

Manifest newManifest(const std::string& kind) {
    Manifest manifest;
    manifest.kind = kind;
    manifest.version = KELP_VERSION;
    manifest.created = oplog::timeText(oplog::now());
    return manifest;
}

std::string textOf(const Manifest& manifest) {
    Json files = Json::array();
    for (const ManifestFile& each : manifest.files)
        files.push_back({{"name", each.name},
                         {"bytes", each.bytes},
                         {"sha256", each.sha256},
                         {"origin", each.origin}});
    return util::jsonText(Json{{"kind", manifest.kind},
                               {"format", kFormat},
                               {"version", manifest.version},
                               {"created", manifest.created},
                               {"files", files},
                               {"leftOut", manifest.leftOut}},
                          2) +
           "\n";
}

Manifest parseManifest(const std::string& text, const std::string& kind) {
    const Json json = parsed(text);
    if (!json.is_object())
        refuseManifest("is not an object");
    Manifest manifest;
    manifest.kind = textIn(json, "kind");
    if (manifest.kind != kind)
        refuseManifest("says that it is a \"" + util::escaped(manifest.kind, kShownName) +
                       "\", not a \"" + kind + "\"");
    if (json.value("format", Json()) != Json(kFormat))
        refuseManifest("has a format that this version does not know");
    manifest.version = textIn(json, "version");
    manifest.created = textIn(json, "created");
    const Json files = json.value("files", Json());
    if (!files.is_array() || files.size() > kFilesMax)
        refuseManifest("has no list of files, or one that is too long");
    std::set<std::string> names;
    for (const Json& each : files) {
        manifest.files.push_back(fileIn(each));
        if (!names.insert(manifest.files.back().name).second)
            refuseManifest("has a file twice: \"" +
                           util::escaped(manifest.files.back().name, kShownName) + "\"");
    }
    return manifest;
}

}  // namespace kelp::state
