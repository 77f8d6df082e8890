#include "files/line_reader.h"

#include <kelp/inventory/failure.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace kelp::inventory {

namespace {

constexpr std::size_t kBufferBytes = 256u << 10;

}  // namespace

LineReader::LineReader(const std::filesystem::path& file) : file_(file) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw InventoryFailure(file.string() + " is a folder");
    errno = 0;
    stream_.open(file, std::ios::binary);
    if (!stream_)
        throw InventoryFailure(file.string() +
                               " cannot be read: " + std::generic_category().message(errno));
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    size_ = error ? 0 : static_cast<std::uint64_t>(size);
}

bool LineReader::fill() {
    buffer_.resize(kBufferBytes);
    stream_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.resize(static_cast<std::size_t>(stream_.gcount()));
    used_ = 0;
    if (stream_.bad())
        throw InventoryFailure(file_.string() + " cannot be read");
    return !buffer_.empty();
}

bool LineReader::next(std::string& line) {
    line.clear();
    isCut_ = false;
    bool isThere = false;
    while (used_ < buffer_.size() || fill()) {
        isThere = true;
        const std::size_t end = buffer_.find('\n', used_);
        const std::size_t part = std::min(end, buffer_.size()) - used_;
        const std::size_t room = kLineBytesMax - line.size();
        isCut_ = isCut_ || part > room;
        line.append(buffer_, used_, std::min(part, room));
        used_ += part;
        place_.offset += part;
        if (end != std::string::npos) {
            ++used_;
            ++place_.offset;
            break;
        }
    }
    place_.line += isThere ? 1 : 0;
    return isThere;
}

void LineReader::seek(const Place& place) {
    stream_.clear();
    stream_.seekg(static_cast<std::streamoff>(place.offset));
    buffer_.clear();
    used_ = 0;
    place_ = place;
}

}  // namespace kelp::inventory
