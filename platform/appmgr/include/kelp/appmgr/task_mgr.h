#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <functional>
#include <memory>

class ACE_Thread_Manager;
class KelpAppMgr;

/// A queue of work with worker threads of its own. The order of the virtual operations is the
/// contract with the modules that derive from it.
class KELP_EXPORT KelpTaskMgr {
  public:
    using Work = std::function<void()>;

    virtual ~KelpTaskMgr();
    /// Starts the workers; called once. 0, or -1 when a thread cannot be made.
    virtual int InitEnv() = 0;
    /// Queues work; false when the queue is full or the manager is ending.
    virtual bool Post(Work work) = 0;
    /// Finishes what runs, drops what is queued, ends the workers. Called from work of its own it
    /// does not wait for that; while the process stops (kelp::util::isStopping) it waits a second
    /// at most, and leaves work that goes on to itself.
    virtual void Exit() = 0;
    /// The task manager's type number, a name within the application.
    virtual int Type() const = 0;
};

/// The general task manager: `workers` threads (at least one) of the given thread manager (null:
/// ACE's own) on one bounded queue. Work that throws is traced and costs nothing else. All
/// operations may be called from any thread.
class KELP_EXPORT KelpGnlTaskMgr : public KelpTaskMgr {
  public:
    KelpGnlTaskMgr(KelpAppMgr* application, ACE_Thread_Manager* threads, int type, int workers);
    ~KelpGnlTaskMgr() override;
    int InitEnv() override;
    bool Post(Work work) override;
    void Exit() override;
    int Type() const override;
    /// Work dropped by Exit since the start.
    std::size_t Dropped() const;

  private:
    struct State;
    std::shared_ptr<State> state_;  ///< shared with the workers
};

/// The application's task managers. Owns those handed to it and ends them, newest first, at Exit.
class KELP_EXPORT KelpAppMgr {
  public:
    static KelpAppMgr* Instance();
    /// Takes ownership of a task manager. One of the same type that is there already is ended and
    /// replaced (a module loaded a second time brings its task manager again).
    void TMDynInsertTaskMgr(KelpTaskMgr* taskMgr);
    /// Queues work with the task manager of a type; false when there is none, its queue is full or
    /// it is ending. Unlike Find it may be called while the application ends.
    bool Post(int type, KelpTaskMgr::Work work);
    /// The task manager of a type, or null; it lives until it is replaced or the application ends.
    KelpTaskMgr* Find(int type) const;
    /// Ends and deletes all task managers. To be called before the modules whose work is queued are
    /// unloaded; task managers may be handed over again afterwards.
    void Exit();

    KelpAppMgr(const KelpAppMgr&) = delete;
    KelpAppMgr& operator=(const KelpAppMgr&) = delete;

  private:
    KelpAppMgr();
    ~KelpAppMgr();
    struct State;
    std::unique_ptr<State> state_;
};
