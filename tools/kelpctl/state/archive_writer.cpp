#include "state/archive_writer.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/now_utc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace kelp::state {

namespace {

constexpr std::size_t kBlock = 1u << 16;
constexpr int kMode = S_IRUSR | S_IWUSR;

struct FreeArchive {
    void operator()(archive* open) const { ::archive_write_free(open); }
};
struct FreeEntry {
    void operator()(archive_entry* entry) const { ::archive_entry_free(entry); }
};

}  // namespace

struct ArchiveWriter::State {
    std::unique_ptr<archive, FreeArchive> out{::archive_write_new()};

    void require(la_ssize_t result) const {
        if (result < 0)
            throw std::runtime_error(std::string("the archive cannot be written: ") +
                                     ::archive_error_string(out.get()));
    }
    void begin(const std::string& name, std::uint64_t bytes) const {
        const std::unique_ptr<archive_entry, FreeEntry> entry(::archive_entry_new());
        ::archive_entry_set_pathname(entry.get(), name.c_str());
        ::archive_entry_set_filetype(entry.get(), AE_IFREG);
        ::archive_entry_set_perm(entry.get(), kMode);
        ::archive_entry_set_size(entry.get(), static_cast<la_int64_t>(bytes));
        ::archive_entry_set_mtime(entry.get(), util::nowUtc(), 0);
        require(::archive_write_header(out.get(), entry.get()));
    }
};

ArchiveWriter::ArchiveWriter(int descriptor) : state_(std::make_unique<State>()) {
    if (!state_->out)
        throw std::bad_alloc();
    state_->require(::archive_write_add_filter_zstd(state_->out.get()));
    state_->require(::archive_write_set_format_pax_restricted(state_->out.get()));
    state_->require(::archive_write_open_fd(state_->out.get(), descriptor));
}

ArchiveWriter::~ArchiveWriter() = default;

void ArchiveWriter::addText(const std::string& name, const std::string& content) {
    state_->begin(name, content.size());
    if (!content.empty())
        state_->require(::archive_write_data(state_->out.get(), content.data(), content.size()));
    state_->require(::archive_write_finish_entry(state_->out.get()));
}

void ArchiveWriter::addFile(const std::string& name, const std::filesystem::path& file,
                            std::uint64_t bytes) {
    const util::Descriptor in(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!in.isOpen())
        throw std::runtime_error(file.string() +
                                 " cannot be read: " + std::generic_category().message(errno));
    state_->begin(name, bytes);
    std::array<char, kBlock> block;
    while (bytes > 0) {
        const ssize_t count = ::read(in.get(), block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || static_cast<std::uint64_t>(count) > bytes)
            throw std::runtime_error(file.string() + " changed while it was read");
        state_->require(
            ::archive_write_data(state_->out.get(), block.data(), static_cast<std::size_t>(count)));
        bytes -= static_cast<std::uint64_t>(count);
    }
    state_->require(::archive_write_finish_entry(state_->out.get()));
}

void ArchiveWriter::close() {
    state_->require(::archive_write_close(state_->out.get()));
}

}  // namespace kelp::state
