#include "installation.h"

#include <kelp/util/joined.h>

#include <string>
#include <system_error>

namespace kelp::host {

namespace {

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

}  // namespace

std::filesystem::path programDirectory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

Places bundleDirectories(const std::filesystem::path& programDirectory) {
    const std::filesystem::path prefix = programDirectory.parent_path();
    return {prefix / "lib" / "bundles", prefix / KELP_LIBDIR / "kelp" / "bundles"};
}

Places errorCatalogues(const std::filesystem::path& programDirectory,
                       const std::filesystem::path& configFile) {
    constexpr const char* kName = "errors.toml";
    Places places;
    if (!configFile.empty())
        places.push_back(std::filesystem::absolute(configFile).parent_path() / kName);
    places.push_back(programDirectory.parent_path() / "share" / "kelp" / kName);
    return places;
}

std::filesystem::path standardConfigFile() {
    const std::filesystem::path file = "/etc/kelp/kelp.toml";
    return isThere(file) ? file : std::filesystem::path();
}

std::filesystem::path firstExisting(const Places& places) {
    for (const std::filesystem::path& place : places) {
        if (isThere(place))
            return place;
    }
    return {};
}

std::string inWords(const Places& places) {
    return util::joined(places, ", ",
                        [](const std::filesystem::path& place) { return place.string(); });
}

}  // namespace kelp::host
