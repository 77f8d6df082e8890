#pragma once

#include <ace/Thread_Manager.h>
#include <kelp/util/mutex.h>

#include <atomic>

namespace NS_KELPCORBA {

/// The state that the agent's start, its stop and its threads share. Made when the library is
/// loaded.
struct AgentState {
    static AgentState& instance();

    /// Owns the monitor thread.
    ACE_Thread_Manager threads{0, 1, 1, 25000};
    /// Group id of the monitor thread; -1 before the thread was spawned.
    std::atomic<int> monitorGroup{-1};
    kelp::util::Mutex monitorMutex{kelp::util::LockRank::Leaf, "AgentState::monitorMutex"};
    kelp::util::ConditionVariable monitorCondition;
    /// Set by the stop under monitorMutex. Stays true until the library is unloaded.
    std::atomic<bool> exitRequested{false};
    /// True from the success of SessionMgr::Init until the stop has waited for its thread.
    std::atomic<bool> sessionMgrStarted{false};
};

}  // namespace NS_KELPCORBA
