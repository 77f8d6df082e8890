#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kelp::test {

/// A new folder. The destructor removes it with all its contents.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kelp-test-").string() + std::string(6, 'X');
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary directory");
        path_ = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    /// Write a file in the folder, replacing an existing one. Return its path.
    std::filesystem::path write(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary | std::ios::trunc) << content;
        return path_ / name;
    }

  private:
    std::filesystem::path path_;
};

/// Return the content of a file; empty if it does not exist.
inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Sets an environment variable for the length of a scope.
class ScopedEnvironment {
  public:
    ScopedEnvironment(const std::string& name, const char* value) : name_(name) {
        const char* const before = std::getenv(name.c_str());
        wasSet_ = before != nullptr;
        before_ = wasSet_ ? before : "";
        if (value != nullptr)
            ::setenv(name.c_str(), value, 1);
        else
            ::unsetenv(name.c_str());
    }
    ~ScopedEnvironment() {
        if (wasSet_)
            ::setenv(name_.c_str(), before_.c_str(), 1);
        else
            ::unsetenv(name_.c_str());
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    const std::string name_;
    std::string before_;
    bool wasSet_ = false;
};

}  // namespace kelp::test
