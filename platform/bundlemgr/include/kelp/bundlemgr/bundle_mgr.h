#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

class ServiceObjectBase;

/// Loads bundles (shared objects `lib<service>.so` with a factory function `_make_<service>`) and
/// drives their service objects.
class KELP_EXPORT BundleMgr {
  public:
    static BundleMgr* Instance();

    /// The lock that guards one-time look-ups in the registry.
    std::recursive_mutex& GlobalMutex();

    /// Loads and starts the bundles in the given order. On the first failure those already started
    /// are stopped again and the result is false, with one clear sentence in `whyNot`.
    bool Start(const std::filesystem::path& directory, const std::vector<std::string>& services,
               std::string& whyNot);
    /// In reverse order: `Shutdown` (after an `init` that returned 0), `fini`, the bundle's
    /// deleter, unloading.
    void Stop();
    /// For a bundle that has to leave a thread behind when it stops: its code stays in memory this
    /// time. Called by the bundle, no later than in its deleter.
    void KeepLoaded(const std::string& service);
    /// The started service object of that name, or null.
    ServiceObjectBase* Find(const std::string& service) const;

    BundleMgr(const BundleMgr&) = delete;
    BundleMgr& operator=(const BundleMgr&) = delete;

  private:
    BundleMgr();
    ~BundleMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_BUNDLEMGR1
