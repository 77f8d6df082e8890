#include "util/agent_state.h"

namespace NS_KELPCORBA {
namespace {

/// Makes the state when the library is loaded, not during the first request.
[[maybe_unused]] const AgentState& builtAtLoad = AgentState::instance();

}  // namespace

AgentState& AgentState::instance() {
    static AgentState state;
    return state;
}

}  // namespace NS_KELPCORBA
