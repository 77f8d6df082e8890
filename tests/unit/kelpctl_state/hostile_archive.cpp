#include "hostile_archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <stdexcept>

#include "state/checksum.h"

namespace kelp::test {

namespace {

void require(archive* out, la_ssize_t result) {
    if (result < 0)
        throw std::runtime_error(archive_error_string(out));
}

void addFilters(archive* out, Compression compression) {
    if (compression == Compression::Gzip)
        require(out, archive_write_add_filter_gzip(out));
    if (compression == Compression::Zstd || compression == Compression::ZstdTwice)
        require(out, archive_write_add_filter_zstd(out));
    if (compression == Compression::ZstdTwice)
        require(out, archive_write_add_filter_zstd(out));
}

void describe(archive_entry* entry, const HostileEntry& from) {
    archive_entry_set_pathname(entry, from.name.c_str());
    archive_entry_set_filetype(entry, from.type == 0 ? static_cast<unsigned>(AE_IFREG) : from.type);
    archive_entry_set_perm(entry, 0600);
    archive_entry_set_size(
        entry,
        static_cast<la_int64_t>(from.hole.value_or(from.zeros.value_or(from.content.size()))));
    if (from.hole)
        archive_entry_sparse_add_entry(entry, 0, 1);
    if (!from.link.empty() && from.type == AE_IFLNK)
        archive_entry_set_symlink(entry, from.link.c_str());
    else if (!from.link.empty())
        archive_entry_set_hardlink(entry, from.link.c_str());
}

void writeZeros(archive* out, std::uint64_t count) {
    const std::string block(1u << 20, '\0');
    for (; count > 0; count -= std::min<std::uint64_t>(count, block.size()))
        require(out, archive_write_data(out, block.data(),
                                        std::min<std::uint64_t>(count, block.size())));
}

}  // namespace

void writeArchive(const std::filesystem::path& file, const std::vector<HostileEntry>& entries,
                  Compression compression) {
    archive* const out = archive_write_new();
    addFilters(out, compression);
    require(out, archive_write_set_format_pax(out));
    require(out, archive_write_open_filename(out, file.c_str()));
    for (const HostileEntry& each : entries) {
        archive_entry* const entry = archive_entry_new();
        describe(entry, each);
        require(out, archive_write_header(out, entry));
        if (each.hole)
            writeZeros(out, 1);
        else if (each.zeros)
            writeZeros(out, *each.zeros);
        else if (!each.content.empty())
            require(out, archive_write_data(out, each.content.data(), each.content.size()));
        archive_entry_free(entry);
    }
    require(out, archive_write_close(out));
    archive_write_free(out);
    std::filesystem::permissions(
        file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

std::string manifestClaim(const std::string& name, const std::string& bytes,
                          const std::string& sha256) {
    return R"({"name": ")" + name + R"(", "bytes": )" + bytes + R"(, "sha256": ")" + sha256 +
           R"(", "origin": "somewhere"})";
}

std::string manifestEntry(const std::string& name, const std::string& content) {
    state::Checksum checksum;
    checksum.add(content);
    return manifestClaim(name, std::to_string(content.size()), checksum.end());
}

std::string manifestWith(const std::vector<std::string>& entries) {
    std::string text = R"({"kind": "kelp backup", "format": 1, "version": "1", "created": "now",)"
                       R"( "leftOut": [], "files": [)";
    for (std::size_t i = 0; i < entries.size(); ++i)
        text += (i == 0 ? "" : ", ") + entries[i];
    return text + "]}";
}

}  // namespace kelp::test
