#include "upload/dump_file.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "text/json_line.h"
#include "text/output.h"
#include "upload/network_json.h"

namespace kelp::nms {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

/// The last line is sought in this number of bytes at the end. No line with an element's name is
/// longer.
constexpr std::uintmax_t kTailMax = 16384;

std::string resumeLine(const std::string& next) {
    return lineOf(Json{{"object", "Resume"}, {"from", next}}) + "\n";
}

std::string tailOf(const fs::path& file, std::uintmax_t size) {
    std::ifstream in(file, std::ios::binary);
    std::string tail(std::min(size, kTailMax), '\0');
    in.seekg(static_cast<std::streamoff>(size - tail.size()));
    in.read(tail.data(), static_cast<std::streamsize>(tail.size()));
    return in ? tail : std::string();
}

/// Return the last line with its line end, or an empty text if the last line has no line end.
std::string lastLine(const std::string& text) {
    if (text.size() < 2 || text.back() != '\n')
        return {};
    return text.substr(text.rfind('\n', text.size() - 2) + 1);
}

}  // namespace

DumpFile::DumpFile(const fs::path& file, const std::optional<std::string>& from)
    : file_(file), partial_(file.string() + ".partial") {
    if (from)
        size_ = goOn(*from);
    errno = 0;
    stream_.open(partial_, std::ios::binary | (from ? std::ios::app : std::ios::trunc));
    if (!stream_)
        throw CannotWrite(partial_.string());
    if (from)
        markBefore(*from);
}

DumpFile::~DumpFile() {
    suspend();
}

std::uintmax_t DumpFile::goOn(const std::string& from) const {
    std::error_code problem;
    const std::uintmax_t size = fs::file_size(partial_, problem);
    if (problem)
        throw std::invalid_argument("there is no " + partial_.string() +
                                    " to continue; begin again without --from");
    const std::string line = lastLine(tailOf(partial_, size));
    const Json last = Json::parse(line, nullptr, false);
    if (!last.is_object() || last.value("object", "") != "Resume")
        throw std::invalid_argument(
            partial_.string() + " does not end with a whole element; begin again without --from");
    if (last.value("from", "") != from)
        throw std::invalid_argument(partial_.string() + " continues with --from \"" +
                                    last.value("from", "") + "\"");
    const std::uintmax_t whole = size - line.size();
    fs::resize_file(partial_, whole, problem);
    if (problem)
        throw CannotWrite(partial_.string(), problem.message());
    return whole;
}

void DumpFile::write(const std::string& text) {
    const util::MutexLock lock(mutex_);
    errno = 0;
    stream_ << text << std::flush;
    if (!stream_)
        throw CannotWrite(partial_.string());
    size_ += text.size();
}

void DumpFile::markBefore(const std::string& next) {
    const util::MutexLock lock(mutex_);
    mark_ = size_;
    next_ = next;
}

void DumpFile::finish() {
    const util::MutexLock lock(mutex_);
    errno = 0;
    stream_.close();
    if (!stream_)
        throw CannotWrite(partial_.string());
    std::error_code problem;
    fs::rename(partial_, file_, problem);
    if (problem)
        throw CannotWrite(file_.string(), problem.message());
}

std::string DumpFile::suspend() noexcept {
    const util::MutexLock lock(mutex_);
    if (!stream_.is_open())
        return next_;
    stream_.close();
    std::error_code problem;
    if (!mark_) {
        fs::remove(partial_, problem);
        return {};
    }
    fs::resize_file(partial_, *mark_, problem);
    if (!problem)
        std::ofstream(partial_, std::ios::binary | std::ios::app) << resumeLine(next_);
    return next_;
}

}  // namespace kelp::nms
