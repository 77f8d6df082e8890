#pragma once

#include <kelp/admin/registry.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelp::admin {

/// How much a condition needs attention, in rising order.
enum class Severity : std::uint8_t {
    Notice,    ///< something to know
    Warning,   ///< one NMS, or the near future, is affected
    Critical,  ///< all NMS are affected, or records are lost
};

/// The name of a severity in JSON, such as "warning".
KELP_EXPORT std::string nameOf(Severity severity);

/// Something that an operator should know or repair, as long as it lasts.
struct KELP_EXPORT Condition {
    std::string word;  ///< names the kind of condition, such as "nms-silent"
    Severity severity = Severity::Warning;
    std::string sentence;  ///< what is wrong, without a full stop
    std::optional<std::chrono::system_clock::time_point> since;  ///< none: not known
    std::string advice;                                          ///< what to do
};

/// Returns the conditions that exist now. Called on threads of the operator's interface, possibly
/// several at a time. Texts of peers must be escaped.
using ConditionSource = std::function<std::vector<Condition>()>;

/// The sources of conditions: each part of the process enters its own. There is one object for the
/// process. Any thread may call it.
class KELP_EXPORT Conditions {
  public:
    /// Maximum number of conditions shown of one source. Further ones are summarised in one.
    static constexpr std::size_t kShownMax = 20;

    static Conditions& instance();

    /// Ask `source` until the registration ends. Throws std::invalid_argument if the name is taken.
    [[nodiscard]] Registration enter(const std::string& name, ConditionSource source);

    /// The conditions of all sources, the worst first. A source that throws is a condition itself.
    std::vector<Condition> current();

  private:
    Registry sources_;  ///< each source answers one request
};

}  // namespace kelp::admin
