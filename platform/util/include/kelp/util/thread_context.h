#pragma once

#include <kelp/util/export.h>

#include <string>
#include <string_view>

namespace NS_UTIL {

/// What the trace and the operation log show of the request that a thread has in hand.
class KELP_EXPORT ThreadContextInfo {
  public:
    void SetThreadID(int id) { threadId_ = id; }
    int GetThreadID() const { return threadId_; }
    void SetInterfaceName(const std::string& name) { interfaceName_ = name; }
    const std::string& GetInterfaceName() const { return interfaceName_; }
    void SetOperUUID(const std::string& uuid) { operUuid_ = uuid; }
    const std::string& GetOperUUID() const { return operUuid_; }

    /// As newly made; the texts keep their room for the next request.
    void Clear() {
        threadId_ = 0;
        interfaceName_.clear();
        operUuid_.clear();
    }

  private:
    int threadId_ = 0;
    std::string interfaceName_;
    std::string operUuid_;
};

/// Keeps one ThreadContextInfo a thread.
class KELP_EXPORT ThreadContextMgr {
  public:
    static ThreadContextMgr* Instance();
    /// Stores a copy of `info` for the calling thread, replacing what was there.
    void SetThreadContext(const ThreadContextInfo& info);
    /// The calling thread's record; an empty one before the first SetThreadContext.
    ThreadContextInfo GetThreadContext() const;
    /// Forgets the calling thread's record (the request is served).
    void ClearThreadContext();

  private:
    ThreadContextMgr() = default;
};

/// Small text helpers of the platform.
class KELP_EXPORT SelfUtilCommon {
  public:
    static SelfUtilCommon* Instance();
    /// The text between the first `openTag` and the `closeTag` after it; empty when either is
    /// missing. `openTagLength` is the opening tag's length in bytes; lengths beyond the text are
    /// harmless.
    std::string GetValByTag(const std::string& text, const std::string& openTag,
                            const std::string& closeTag, int openTagLength) const;
    /// The same as a part of `text` itself.
    std::string_view ViewByTag(std::string_view text, std::string_view openTag,
                               std::string_view closeTag, int openTagLength) const;

  private:
    SelfUtilCommon() = default;
};

}  // namespace NS_UTIL
