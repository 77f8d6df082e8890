#pragma once

#include <kelp/admin/registry.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::state {

/// The name of the manifest, which is the first file of an archive.
inline constexpr const char* kManifestName = "manifest.json";
/// Maximum size of a manifest. One with the most files is shorter.
inline constexpr std::size_t kManifestBytesMax = 1u << 20;

/// A file of an archive.
struct ManifestFile {
    std::string name;
    std::uint64_t bytes = 0;
    std::string sha256;  ///< 64 hexadecimal digits
    std::string origin;  ///< its path on the machine where the archive was made
};

/// What an archive contains, and where it is from.
struct Manifest {
    std::string kind;     ///< what the archive is
    std::string version;  ///< of the program that made it
    std::string created;  ///< UTC, such as "2025-03-01T12:00:00Z"
    std::vector<ManifestFile> files;
    std::vector<std::string> leftOut;  ///< what could not be included, one sentence each

    std::uint64_t bytes() const;  ///< of all files
};

/// A manifest of this version of the program, made now.
Manifest newManifest(const std::string& kind);

/// The manifest as an archive holds it.
std::string textOf(const Manifest& manifest);

/// Read a manifest of this kind. The names of its files are different from each other; they may
/// be anything. Throws std::runtime_error with one sentence.
Manifest parseManifest(const std::string& text, const std::string& kind);

}  // namespace kelp::state
