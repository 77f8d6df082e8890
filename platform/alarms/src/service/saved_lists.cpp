#include "service/saved_lists.h"

#include <fcntl.h>
#include <kelp/alarms/change.h>
#include <kelp/alarms/saved_list.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/private_file.h>
#include <sodium.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace kelp::alarms {

namespace {

// A file: kMagic, then chunks (4 octets of length, the lowest first, and the content), a length of
// 0, and the checksum of everything before it.
constexpr std::string_view kMagic = "kelp alarm list 1\n";
constexpr std::string_view kPrefix = "alarms-";
constexpr std::string_view kSuffix = ".list";
constexpr std::size_t kLengthBytes = 4;
using Checksum = std::array<unsigned char, crypto_generichash_BYTES>;

/// The checksum of all that was added.
class RunningChecksum {
  public:
    RunningChecksum() { crypto_generichash_init(&state_, nullptr, 0, crypto_generichash_BYTES); }
    void add(std::string_view octets) {
        crypto_generichash_update(&state_, reinterpret_cast<const unsigned char*>(octets.data()),
                                  octets.size());
    }
    Checksum end() {
        Checksum checksum;
        crypto_generichash_final(&state_, checksum.data(), checksum.size());
        return checksum;
    }

  private:
    crypto_generichash_state state_;
};

std::string lengthOctets(std::size_t length) {
    std::string octets(kLengthBytes, '\0');
    for (std::size_t i = 0; i < kLengthBytes; ++i)
        octets[i] = static_cast<char>((length >> (8 * i)) & 0xff);
    return octets;
}

std::size_t lengthIn(std::string_view octets) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < kLengthBytes; ++i)
        length |= static_cast<std::size_t>(static_cast<unsigned char>(octets[i])) << (8 * i);
    return length;
}

[[noreturn]] void failToWrite(const std::filesystem::path& file, const std::string& why) {
    throw std::runtime_error("cannot save the list of alarms in " + file.string() + ": " + why);
}

[[noreturn]] void failToRead(const std::filesystem::path& file, const std::string& why) {
    throw std::runtime_error("the saved list of alarms " + file.string() + " is damaged: " + why);
}

/// A file under its temporary name, which goes with this object unless it was kept.
class PartFile {
  public:
    explicit PartFile(std::filesystem::path file) : file_(std::move(file)) {
        part_ = file_.string() + ".part";
        ::unlink(part_.c_str());  // a crash may have left it
        std::string problem;
        out_ = util::openPrivateFile(part_, O_TRUNC | O_EXCL, problem);
        if (!out_.isOpen())
            failToWrite(file_, problem);
    }
    ~PartFile() {
        if (!isKept_)
            ::unlink(part_.c_str());
    }
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    void write(std::string_view octets) {
        while (!octets.empty()) {
            const ssize_t count = ::write(out_.get(), octets.data(), octets.size());
            if (count < 0 && errno != EINTR)
                fail();
            if (count > 0)
                octets.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    /// Make the content durable, then its name.
    void keep() {
        if (::fsync(out_.get()) != 0 || ::rename(part_.c_str(), file_.c_str()) != 0)
            fail();
        isKept_ = true;
        const util::Descriptor folder(
            ::open(file_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder.isOpen() || ::fsync(folder.get()) != 0)
            fail();
    }

  private:
    [[noreturn]] void fail() const { failToWrite(file_, std::generic_category().message(errno)); }

    std::filesystem::path file_;
    std::filesystem::path part_;
    util::Descriptor out_;
    bool isKept_ = false;
};

/// Reads a file from its beginning and adds all to the checksum.
class ChunkFile {
  public:
    explicit ChunkFile(const std::filesystem::path& file)
        : file_(file), in_(file, std::ios::binary) {
        if (!in_)
            throw std::runtime_error("cannot read the saved list of alarms " + file.string());
    }

    std::string take(std::size_t length) {
        std::string octets(length, '\0');
        if (!in_.read(octets.data(), static_cast<std::streamsize>(length)))
            failToRead(file_, "it ends too early");
        return octets;
    }
    std::string takeCounted(std::size_t length) {
        std::string octets = take(length);
        checksum_.add(octets);
        return octets;
    }
    void expectChecksum() {
        const Checksum expected = checksum_.end();
        const std::string found = take(expected.size());
        if (!std::equal(expected.begin(), expected.end(),
                        reinterpret_cast<const unsigned char*>(found.data())))
            failToRead(file_, "its checksum does not match");
    }

  private:
    const std::filesystem::path file_;
    std::ifstream in_;
    RunningChecksum checksum_;
};

std::optional<Position> positionIn(const std::string& name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix) ||
        name.size() <= kPrefix.size() + kSuffix.size())
        return std::nullopt;
    const char* const begin = name.data() + kPrefix.size();
    const char* const end = name.data() + name.size() - kSuffix.size();
    Position position = 0;
    const auto [stop, error] = std::from_chars(begin, end, position);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return position;
}

}  // namespace

std::filesystem::path SavedLists::fileOf(Position position) const {
    return folder_ / (std::string(kPrefix) + std::to_string(position) + std::string(kSuffix));
}

std::vector<Position> SavedLists::positions() const {
    std::vector<Position> found;
    std::error_code error;
    for (const auto& each : std::filesystem::directory_iterator(folder_, error)) {
        if (const auto position = positionIn(each.path().filename().string()))
            found.push_back(*position);
    }
    std::sort(found.rbegin(), found.rend());
    return found;
}

ListState SavedLists::load(Position position) const {
    const std::filesystem::path file = fileOf(position);
    ChunkFile in(file);
    if (in.takeCounted(kMagic.size()) != kMagic)
        failToRead(file, "it is none");
    try {
        ListReader reader;
        while (const std::size_t length = lengthIn(in.takeCounted(kLengthBytes))) {
            if (length > kChunkBytesMax)
                failToRead(file, "a part of it is too long");
            reader.add(in.takeCounted(length));
        }
        in.expectChecksum();
        ListState state = reader.finish();
        if (state.position() != position)
            failToRead(file, "its name does not match its content");
        return state;
    } catch (const DamagedRecord& damaged) {
        failToRead(file, damaged.what());
    }
}

void SavedLists::save(std::shared_ptr<const ListState> state) const {
    const std::filesystem::path file = fileOf(state->position());
    const std::string problem = util::makePrivateFolder(folder_);
    if (!problem.empty())
        failToWrite(file, problem);
    PartFile out(file);
    RunningChecksum checksum;
    const auto write = [&](std::string_view octets) {
        checksum.add(octets);
        out.write(octets);
    };
    write(kMagic);
    ListWriter writer(std::move(state));
    while (const auto chunk = writer.next()) {
        write(lengthOctets(chunk->size()));
        write(*chunk);
    }
    write(lengthOctets(0));
    const Checksum end = checksum.end();
    out.write({reinterpret_cast<const char*>(end.data()), end.size()});
    out.keep();
    const std::vector<Position> all = positions();
    for (std::size_t i = kKept; i < all.size(); ++i)
        ::unlink(fileOf(all[i]).c_str());
}

}  // namespace kelp::alarms
