#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "state/layout.h"
#include "support/temporary_directory.h"

namespace kelp::test {

/// A state directory with databases of the right kinds, and a configuration that names files.
class StateTest : public testing::Test {
  protected:
    StateTest();
    ~StateTest() override;

    std::filesystem::path inState(const std::string& name) const { return state_ / name; }
    std::filesystem::path archive() const { return folder_ / "backup.tar.zst"; }

    /// Make every file of the state, with this text in each.
    void makeState(const std::string& text) const;
    void removeState() const;
    /// Write a file that only its owner can read.
    static void writeSecret(const std::filesystem::path& file, const std::string& content);
    /// Load a configuration with this text.
    void configure(const std::string& toml) const;

    /// The content of every file below a folder, by its path. Locks are not included.
    static std::map<std::string, std::string> contentsOf(const std::filesystem::path& folder);
    std::map<std::string, std::string> contentsOfState() const { return contentsOf(state_); }
    /// The text that is in every database of the state; "" if they differ or one lacks.
    std::string textInState() const;

    /// The reason for which `make` fails; "" if it does not.
    template <class Make>
    static std::string failureOf(Make make) {
        try {
            make();
        } catch (const std::exception& failure) {
            return failure.what();
        }
        return "";
    }

    TemporaryDirectory folder_;
    const std::filesystem::path state_ = folder_ / "state";
    ScopedEnvironment environment_{"STATE_DIRECTORY", state_.c_str()};
};

/// A database of this kind with one text in it.
void makeDatabase(const std::filesystem::path& file, int applicationId, const std::string& text);
std::string textInDatabase(const std::filesystem::path& file);

}  // namespace kelp::test
