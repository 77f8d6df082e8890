#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <functional>
#include <memory>

class ACE_Thread_Manager;
class KelpAppMgr;

/// A queue of work with separate worker threads. The order of the virtual operations is part of the
/// contract with the modules that derive from it.
class KELP_EXPORT KelpTaskMgr {
  public:
    using Work = std::function<void()>;

    virtual ~KelpTaskMgr();
    /// Start the workers. Called once. Returns 0, or -1 if a thread cannot be started.
    virtual int InitEnv() = 0;
    /// Queue work. False if the queue is full or the manager is ending.
    virtual bool Post(Work work) = 0;
    /// Finish the work in progress, drop the queued work and end the workers. If one of its workers
    /// calls it, it does not wait for work in progress. While the process stops
    /// (kelp::util::isStopping) it waits 1 s at most and then lets that work continue.
    virtual void Exit() = 0;
    /// The task manager's type number, unique within the application.
    virtual int Type() const = 0;
};

/// The general task manager. Its `workers` threads (at least one) belong to the given thread
/// manager (null: ACE's default) and share one queue of at most 10000 items. An exception thrown by
/// work is traced and has no other effect. Any thread may call it.
class KELP_EXPORT KelpGnlTaskMgr : public KelpTaskMgr {
  public:
    KelpGnlTaskMgr(KelpAppMgr* application, ACE_Thread_Manager* threads, int type, int workers);
    ~KelpGnlTaskMgr() override;
    int InitEnv() override;
    bool Post(Work work) override;
    void Exit() override;
    int Type() const override;
    /// Number of queued items that Exit has dropped since the start.
    std::size_t Dropped() const;

  private:
    struct State;
    std::shared_ptr<State> state_;  ///< shared with the workers
};

/// Owns the task managers of the application. Exit ends them, the newest first. Any thread may call
/// it.
class KELP_EXPORT KelpAppMgr {
  public:
    static KelpAppMgr* Instance();
    /// Take ownership of a task manager. If there is one of the same type, because a module was
    /// loaded a second time, that one is ended and replaced.
    void TMDynInsertTaskMgr(KelpTaskMgr* taskMgr);
    /// Queue work with the task manager of a type. False if there is none, its queue is full or it
    /// is ending. Unlike Find, it may be called while the application ends.
    bool Post(int type, KelpTaskMgr::Work work);
    /// The task manager of a type, or null. It lives until it is replaced or the application ends.
    KelpTaskMgr* Find(int type) const;
    /// End and delete all task managers. To be called before the modules whose work is queued are
    /// unloaded. Task managers may be handed over again afterwards.
    void Exit();

    KelpAppMgr(const KelpAppMgr&) = delete;
    KelpAppMgr& operator=(const KelpAppMgr&) = delete;

  private:
    KelpAppMgr();
    ~KelpAppMgr();
    struct State;
    std::unique_ptr<State> state_;
};
