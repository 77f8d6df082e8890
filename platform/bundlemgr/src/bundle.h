#pragma once

#include <ace/DLL.h>
#include <ace/Service_Object.h>

#include <filesystem>
#include <string>

namespace NS_BUNDLEMGR1 {

class ServiceObjectBase;

/// One bundle from loading to unloading. Nothing that the bundle throws gets out of here.
class Bundle {
  public:
    Bundle(const std::filesystem::path& directory, const std::string& service);
    /// Unloads it.
    ~Bundle() = default;
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    /// Loads the shared object, makes its service object and calls `init`. False, with one
    /// sentence, when a step fails; stop() then undoes the steps before it.
    bool start(std::string& whyNot);
    /// `Shutdown` after an `init` that returned 0, `fini`, the deleter.
    void stop();
    /// The shared object stays in memory for good.
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
    ACE_Service_Object* made_ = nullptr;   ///< owned; deleter_ takes exactly this pointer
    ServiceObjectBase* object_ = nullptr;  ///< made_, borrowed
    bool isInitialised_ = false;
};

}  // namespace NS_BUNDLEMGR1
