#pragma once

#include <ace/Condition_Thread_Mutex.h>
#include <ace/Thread_Manager.h>
#include <ace/Thread_Mutex.h>

#include <atomic>

namespace NS_KELPCORBA {

/// What the agent's start, its stop and its threads share. Built when the library is loaded.
struct AgentState {
    static AgentState& instance();

    /// Owns the monitor thread.
    ACE_Thread_Manager threads{0, 1, 1, 25000};
    /// Group id of the monitor thread; -1 before it was spawned.
    std::atomic<int> monitorGroup{-1};
    ACE_Thread_Mutex monitorMutex;
    ACE_Condition<ACE_Thread_Mutex> monitorCondition{monitorMutex};
    /// Set once by the stop, under monitorMutex; never returns to false within one load.
    std::atomic<bool> exitRequested{false};
    /// True from SessionMgr::Init's success until the stop has waited for its thread.
    std::atomic<bool> sessionMgrStarted{false};
};

}  // namespace NS_KELPCORBA
