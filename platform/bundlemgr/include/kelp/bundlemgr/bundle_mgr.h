#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

class ServiceObjectBase;

/// Loads bundles and drives their service objects. A bundle is a shared object `lib<service>.so`
/// with a factory function `_make_<service>`.
class KELP_EXPORT BundleMgr {
  public:
    static BundleMgr* Instance();

    /// Guards one-time look-ups in the registry.
    std::recursive_mutex& GlobalMutex();

    /// Load and start the bundles in the given order. If one fails, stop those already started and
    /// return false; `whyNot` then says why in one sentence.
    bool Start(const std::filesystem::path& directory, const std::vector<std::string>& services,
               std::string& whyNot);
    /// Stop the bundles in reverse order: `Shutdown` (if `init` returned 0), `fini`, the bundle's
    /// deleter, unloading.
    void Stop();
    /// Keep a bundle's code in memory when it is stopped this time, because it has to leave a
    /// thread behind. Called by the bundle, in its deleter at the latest.
    void KeepLoaded(const std::string& service);
    /// The started service object with that name, or null.
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
