#include "history/end_reason.h"

#include <array>
#include <utility>

namespace NS_KELPCORBA {
namespace {

constexpr std::array<std::pair<EndReason, std::string_view>, 10> kReasonWords = {{
    {EndReason::LogOut, "log-out"},
    {EndReason::Replaced, "replaced"},
    {EndReason::Dead, "dead"},
    {EndReason::Silent, "silent"},
    {EndReason::Limit, "limit"},
    {EndReason::UserDisabled, "user-disabled"},
    {EndReason::HostStopped, "host-stopped"},
    {EndReason::HostKilled, "host-killed"},
    {EndReason::Operator, "operator"},
    {EndReason::Failed, "failed"},
}};

}  // namespace

std::string_view wordOf(EndReason reason) {
    for (const auto& [each, word] : kReasonWords) {
        if (each == reason)
            return word;
    }
    return "none";
}

std::optional<EndReason> endReasonOf(std::string_view word) {
    for (const auto& [reason, each] : kReasonWords) {
        if (each == word)
            return reason;
    }
    return std::nullopt;
}

std::string_view endReasonWords() {
    return "log-out, replaced, dead, silent, limit, user-disabled, host-stopped, host-killed, "
           "operator, failed";
}

}  // namespace NS_KELPCORBA
