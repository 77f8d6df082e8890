#pragma once

#include <kelp/util/mutex.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace kelp::nms {

/// A dump file while it is written. Its name is FILE.partial until it is complete; then it is
/// renamed to FILE. A suspended file ends with a line that names the element to go on with. May be
/// used from any thread.
class DumpFile {
  public:
    /// Begin the file, or go on with a file that was suspended before the element `from`. Throws
    /// CannotWrite. Throws std::invalid_argument when there is no suspended file, or it was
    /// suspended before another element.
    DumpFile(const std::filesystem::path& file, const std::optional<std::string>& from);
    /// Suspend the file unless it is finished.
    ~DumpFile();
    DumpFile(const DumpFile&) = delete;
    DumpFile& operator=(const DumpFile&) = delete;

    const std::filesystem::path& partial() const { return partial_; }

    /// Throws CannotWrite.
    void write(const std::string& text);
    /// Record that everything written so far is complete and that the element `next` follows.
    void markBefore(const std::string& next);
    /// The dump is complete. Throws CannotWrite.
    void finish();
    /// The dump was cut short. Remove what was written after the last mark; from now on nothing is
    /// written. Returns the element to go on with. Returns "" when there was no mark; then the file
    /// is removed. Only the first call has an effect.
    std::string suspend() noexcept;

  private:
    /// Cut the last line off a file that was suspended before the element `from`. Return the size
    /// that is left.
    std::uintmax_t goOn(const std::string& from) const;

    const std::filesystem::path file_;
    const std::filesystem::path partial_;
    util::Mutex mutex_{util::LockRank::Leaf, "DumpFile::mutex_"};
    std::ofstream stream_ KELP_GUARDED_BY(mutex_);
    std::uintmax_t size_ KELP_GUARDED_BY(mutex_) = 0;
    std::optional<std::uintmax_t> mark_ KELP_GUARDED_BY(mutex_);
    std::string next_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::nms
