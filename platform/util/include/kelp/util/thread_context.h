#pragma once

#include <kelp/util/export.h>

#include <string>
#include <string_view>

namespace NS_UTIL {

/// The facts about a thread's current request that the trace and the operation log show.
class KELP_EXPORT ThreadContextInfo {
  public:
    void SetThreadID(int id) { threadId_ = id; }
    int GetThreadID() const { return threadId_; }
    void SetInterfaceName(const std::string& name) { interfaceName_ = name; }
    const std::string& GetInterfaceName() const { return interfaceName_; }
    void SetOperUUID(const std::string& uuid) { operUuid_ = uuid; }
    const std::string& GetOperUUID() const { return operUuid_; }

    /// Reset all members. The texts keep their memory for the next request.
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

/// Holds one ThreadContextInfo for each thread.
class KELP_EXPORT ThreadContextMgr {
  public:
    static ThreadContextMgr* Instance();
    /// Store a copy of `info` for the calling thread.
    void SetThreadContext(const ThreadContextInfo& info);
    /// The calling thread's record; default-constructed before the first SetThreadContext().
    ThreadContextInfo GetThreadContext() const;
    /// Discard the calling thread's record. Called when the request is finished.
    void ClearThreadContext();

  private:
    ThreadContextMgr() = default;
};

/// Text functions of the platform.
class KELP_EXPORT SelfUtilCommon {
  public:
    static SelfUtilCommon* Instance();
    /// The text between the first `openTag` and the next `closeTag`; empty if one of them is
    /// missing. `openTagLength` is the length of the opening tag in bytes. It may exceed the length
    /// of the text.
    std::string GetValByTag(const std::string& text, const std::string& openTag,
                            const std::string& closeTag, int openTagLength) const;
    /// The same as a view into `text`.
    std::string_view ViewByTag(std::string_view text, std::string_view openTag,
                               std::string_view closeTag, int openTagLength) const;

  private:
    SelfUtilCommon() = default;
};

}  // namespace NS_UTIL
