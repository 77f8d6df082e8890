#pragma once

#include <ace/Service_Object.h>
#include <kelp/util/export.h>

#include <string>

namespace NS_BUNDLEMGR1 {

/// Base of the interfaces that bundles offer each other by name.
class KELP_EXPORT ServiceInterfaceRoot {
  public:
    virtual ~ServiceInterfaceRoot();
};

/// An interface that a bundle offers under a key (SetIFBuf). Owned by the service object that
/// created it.
class KELP_EXPORT ServiceInterface : public virtual ServiceInterfaceRoot {
  public:
    ~ServiceInterface() override;
    virtual const char* GetInterfaceName() const = 0;
    virtual int GetInterfaceVersion() const = 0;
};

/// The interface of a bundle that offers none.
class KELP_EXPORT NULLServiceInterface : public ServiceInterface {
  public:
    ~NULLServiceInterface() override;
    const char* GetInterfaceName() const override;  ///< "NULLServiceInterface!"
    int GetInterfaceVersion() const override;       ///< 0
};

/// Base of a bundle's service object. The bundle manager calls `init`, later `Shutdown` (only if
/// `init` returned 0), `fini`, and the deleter that the factory function returned. The order of the
/// virtual operations is the binary contract with the host.
class KELP_EXPORT ServiceObjectBase : public ACE_Service_Object {
  public:
    ServiceObjectBase(const char* bundleName, const char* serviceName);
    ~ServiceObjectBase() override;

    /// Remove the bundle's interfaces from the registry.
    virtual int UnRegistSvc();
    virtual const char* GetName() const;
    virtual void Shutdown();
    virtual ServiceInterface* GetInterface();
    virtual ServiceInterface* CreateInterface();
    virtual void RemoveInterface();

    const std::string& BundleName() const { return bundleName_; }

  protected:
    ServiceInterface* interface_ = nullptr;  ///< owned
    std::string name_;

  private:
    std::string bundleName_;
};

/// Register an interface under a key. A second interface replaces the first. The caller keeps the
/// ownership.
KELP_EXPORT void SetIFBuf(const std::string& key, ServiceInterface* serviceInterface);
/// The interface under a key, or null. Any thread may call it.
KELP_EXPORT ServiceInterface* CheckIFBuf(const std::string& key);
/// Remove every entry of this interface from the registry.
KELP_EXPORT void RemoveIFBuf(ServiceInterface* serviceInterface);
/// The interface under a key. Throws InterfaceNotExistException if there is none.
KELP_EXPORT ServiceInterface* RequireIF(const std::string& key);

/// Texts of error codes. Several threads may read at the same time.
class KELP_EXPORT ErrorCodeBufIf : public ServiceInterface {
  public:
    ~ErrorCodeBufIf() override;
    const char* GetInterfaceName() const override;  ///< "ErrorCodeBufIf"
    int GetInterfaceVersion() const override;       ///< 1
    /// Returns false for an unknown code, and leaves `text` unchanged.
    virtual bool GetErrorText(unsigned long code, std::string& text) const = 0;
};

}  // namespace NS_BUNDLEMGR1
