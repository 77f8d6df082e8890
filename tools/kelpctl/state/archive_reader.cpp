#include "state/archive_reader.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/trace_log.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace kelp::state {

namespace {

constexpr std::size_t kReadBlock = 1u << 16;
constexpr std::size_t kNameMax = 255;
/// zstd, and the end of the chain. More would be an archive within an archive.
constexpr int kFilters = 2;
constexpr std::size_t kNameShown = 100;

struct FreeReader {
    void operator()(archive* open) const { ::archive_read_free(open); }
};

/// Why a name is not one of ours, before it is compared with the known ones; empty: it may be.
std::string problemOfName(const std::string& name) {
    if (name.empty() || name.size() > kNameMax)
        return "has a name that is empty or too long";
    if (name.front() == '/')
        return "has an absolute path";
    if (("/" + name + "/").find("/../") != std::string::npos)
        return "has a path that leads upwards";
    if (util::escaped(name) != name)
        return "has a name with control characters";
    return "";
}

std::string problemOfEntry(archive_entry* entry) {
    if (::archive_entry_hardlink(entry) != nullptr || ::archive_entry_symlink(entry) != nullptr ||
        ::archive_entry_filetype(entry) == AE_IFLNK)
        return "is a link";
    if (::archive_entry_filetype(entry) != AE_IFREG)
        return "is not a regular file";
    if (::archive_entry_sparse_count(entry) > 0)
        return "is a sparse file";
    if (::archive_entry_size_is_set(entry) == 0 || ::archive_entry_size(entry) < 0)
        return "has no size";
    return "";
}

}  // namespace

struct ArchiveReader::State {
    std::filesystem::path file;
    util::Descriptor descriptor;
    std::unique_ptr<archive, FreeReader> in{::archive_read_new()};
    ArchiveEntry entry;

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error(file.string() + " " + what);
    }
    [[noreturn]] void failAsDamaged() const {
        const char* const why = ::archive_error_string(in.get());
        fail("is damaged, or not an archive of kelpctl: " +
             util::escaped(why != nullptr ? why : "it cannot be read", kNameShown));
    }
    void require(int result) const {
        if (result != ARCHIVE_OK)
            failAsDamaged();
    }
    [[noreturn]] void refuse(const std::string& name, const std::string& why) const {
        fail("is refused: \"" + util::escaped(name, kNameShown) + "\" in it " + why);
    }
};

ArchiveReader::ArchiveReader(const std::filesystem::path& file)
    : state_(std::make_unique<State>()) {
    if (!state_->in)
        throw std::bad_alloc();
    state_->file = file;
    if (const std::string problem = util::problemOfTrust(file); !problem.empty())
        state_->fail(problem);
    // non-blocking: a pipe without a writer must not hang us
    state_->descriptor =
        util::Descriptor(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!state_->descriptor.isOpen() || ::fstat(state_->descriptor.get(), &status) != 0)
        state_->fail("cannot be read: " + std::generic_category().message(errno));
    if (!S_ISREG(status.st_mode))
        state_->fail("is not a regular file");
    archive* const in = state_->in.get();
    state_->require(::archive_read_support_filter_zstd(in));
    state_->require(::archive_read_support_format_tar(in));
    state_->require(::archive_read_open_fd(in, state_->descriptor.get(), kReadBlock));
}

ArchiveReader::~ArchiveReader() = default;

std::optional<ArchiveEntry> ArchiveReader::next() {
    archive_entry* entry = nullptr;
    const int result = ::archive_read_next_header(state_->in.get(), &entry);
    if (result == ARCHIVE_EOF)
        return std::nullopt;
    state_->require(result);
    if (::archive_filter_count(state_->in.get()) > kFilters)
        state_->fail("is refused: it is compressed more than once");
    const char* const path = ::archive_entry_pathname(entry);
    const std::string name = path != nullptr ? path : "";
    for (const std::string& problem : {problemOfName(name), problemOfEntry(entry)}) {
        if (!problem.empty())
            state_->refuse(name, problem);
    }
    state_->entry = {name, static_cast<std::uint64_t>(::archive_entry_size(entry))};
    return state_->entry;
}

void ArchiveReader::read(const std::function<void(std::string_view)>& sink) {
    std::array<char, kReadBlock> block;
    std::uint64_t total = 0;
    while (true) {
        const la_ssize_t count = ::archive_read_data(state_->in.get(), block.data(), block.size());
        if (count < 0)
            state_->failAsDamaged();
        if (count == 0)
            break;
        total += static_cast<std::uint64_t>(count);
        if (total > state_->entry.bytes)
            break;
        sink({block.data(), static_cast<std::size_t>(count)});
    }
    if (total != state_->entry.bytes)
        state_->refuse(state_->entry.name, "has another size than it claims");
}

}  // namespace kelp::state
