#pragma once

#include <ace/DLL.h>
#include <ace/Service_Object.h>

#include <filesystem>
#include <string>

namespace NS_BUNDLEMGR1 {

class ServiceObjectBase;

/// One bundle from loading to unloading. Catches all exceptions of the bundle.
class Bundle {
  public:
    Bundle(const std::filesystem::path& directory, const std::string& service);
    /// Unloads the bundle.
    ~Bundle() = default;
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    /// Load the shared object, create its service object and call `init`. Returns false if a step
    /// fails, and says why in one sentence; stop() then undoes the previous steps.
    bool start(std::string& whyNot);
    /// Call `Shutdown` (if `init` returned 0), `fini` and the deleter.
    void stop();
    /// Never unload the shared object.
    void keepLoaded();

    const std::string& service() const { return service_; }
    ServiceObjectBase* object() const { return object_; }

  private:
    bool open(std::string& whyNot);
    bool make(std::string& whyNot);
    bool init(std::string& whyNot);
    void destroyObject();

    const std::string service_;
    const std::filesystem::path file_;
    ACE_DLL dll_;
    ACE_Service_Object_Exterminator deleter_ = nullptr;
    ACE_Service_Object* made_ = nullptr;   ///< owned; deleter_ must get exactly this pointer
    ServiceObjectBase* object_ = nullptr;  ///< made_ as another type, borrowed
    bool isInitialised_ = false;
};

}  // namespace NS_BUNDLEMGR1
