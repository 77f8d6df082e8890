#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>

namespace kelp::nms {

/// The file of a dump on its way: FILE.partial, which becomes FILE when it is whole. One that was
/// suspended ends with a line that says with which element to go on. May be used from any thread.
class DumpFile {
  public:
    /// Begins the file, or goes on with one that was suspended before the element `from`. Throws
    /// CannotWrite, or std::invalid_argument when there is none to go on with, or it goes on with
    /// another element.
    DumpFile(const std::filesystem::path& file, const std::optional<std::string>& from);
    /// Suspends it unless it is finished.
    ~DumpFile();
    DumpFile(const DumpFile&) = delete;
    DumpFile& operator=(const DumpFile&) = delete;

    const std::filesystem::path& partial() const { return partial_; }

    /// Throws CannotWrite.
    void write(const std::string& text);
    /// What was written so far is whole; `next` follows.
    void markBefore(const std::string& next);
    /// The dump is whole. Throws CannotWrite.
    void finish();
    /// The dump was cut short: takes back what came after the last mark; from here on nothing is
    /// written. Returns the element to go on with; "" when there was no mark: then nothing is kept.
    /// Once is enough.
    std::string suspend() noexcept;

  private:
    void goOn(const std::string& from);

    const std::filesystem::path file_;
    const std::filesystem::path partial_;
    std::mutex mutex_;
    // guarded by mutex_
    std::ofstream stream_;
    std::uintmax_t size_ = 0;
    std::optional<std::uintmax_t> mark_;
    std::string next_;
};

}  // namespace kelp::nms
