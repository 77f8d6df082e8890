#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/traps/trap.h>
#include <kelp/util/export.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kelp::traps {

/// A problem in a mapping file.
struct KELP_EXPORT MappingProblem {
    std::string file;
    int line = 0;      ///< 0 if the problem concerns the whole file
    std::string key;   ///< such as "alarm.link.object_name"; empty for a syntax error
    std::string what;  ///< one sentence
    /// "file:line: key: what".
    std::string text() const;
};

/// The alarm that a trap stands for.
struct Translation {
    alarms::Alarm alarm;
    /// Why no rule of the mapping gave the alarm; empty if one did. The alarm then is
    /// indeterminate, cannot be cleared, and has the trap's content as additional text.
    std::string whyUnknown;
};

/// The rules that turn traps into alarms, read from one or more files (docs/snmp.md). Constant
/// after it was read. Any thread may use it.
class KELP_EXPORT Mapping {
  public:
    /// The mapping of no files: every trap is unknown.
    Mapping();
    ~Mapping();
    Mapping(Mapping&&) noexcept;
    Mapping& operator=(Mapping&&) noexcept;

    /// Read files and check them. Adds what is wrong with them to `problems`. The result is
    /// complete only if there are none. A file must be trusted (util/file_trust.h).
    static Mapping read(const std::vector<std::filesystem::path>& files,
                        std::vector<MappingProblem>& problems);
    /// The same for a text. `name` stands for the file.
    static Mapping readText(const std::string& text, const std::string& name,
                            std::vector<MappingProblem>& problems);

    /// Return the alarm that a trap stands for. `ems` is the EMS's name (ems.name). The same
    /// arguments always give the same result.
    Translation translate(const Trap& trap, const std::string& ems) const;

    /// Return what was understood, a line for each trap, for an operator who wrote the file.
    std::vector<std::string> summary() const;

  private:
    struct Rules;
    std::unique_ptr<Rules> rules_;
};

}  // namespace kelp::traps
