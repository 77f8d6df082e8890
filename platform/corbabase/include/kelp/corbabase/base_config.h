#pragma once

#include <cos/CosNaming.h>
#include <kelp/corbabase/manager_interface.h>
#include <kelp/corbabase/request_interceptor.h>
#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <memory>
#include <string>

namespace NS_CORBA {

/// The agent's base configuration, one for the process. It owns the ORB and the root POA, provides
/// the platform settings, keeps the managers that bundles enter, and registers the session factory
/// in the naming service. Settings come from the configuration store, which is read at Init and on
/// reload. The object outlives the agent's start and stop. Any thread may call it.
class KELP_EXPORT CorbaBaseAgentConfig {
  public:
    static CorbaBaseAgentConfig* Instance();

    /// Read the settings and start the ORB. Interception is in place before the first request can
    /// arrive. False, traced with the reason, when a setting is unusable or an endpoint cannot be
    /// opened. Another call while the ORB runs keeps that ORB.
    bool Init(const char* bundleName);

    /// Return a new duplicate, which the caller owns. Throws CORBA::BAD_INV_ORDER while no ORB
    /// runs.
    CORBA::ORB_ptr GetOrb() const;
    PortableServer::POA_ptr GetRootPoa() const;

    // -- managers, entered by bundles before the agent starts
    /// The bundle keeps ownership of the interface and leaves it entered until the agent has
    /// stopped.
    void EnterManagerInterface(CorbaI* managerInterface);
    void LeaveManagerInterface(CorbaI* managerInterface);
    /// False when the name is taken. The bundle keeps ownership of the factory.
    bool EnterNorthMgrFactory(const std::string& managerName, NorthMgrFactory* factory);
    void LeaveNorthMgrFactory(const std::string& managerName);
    /// The same for a fallback, which is used only while no other factory is entered under its
    /// name.
    void EnterFallbackMgrFactory(const std::string& managerName, NorthMgrFactory* factory);
    void LeaveFallbackMgrFactory(const std::string& managerName);
    /// Return the entered interfaces in order of entry; null when none was ever entered. The list
    /// is locked against entering and leaving until the same thread calls FreeMGRList().
    const MGRList* GetMGRList();
    void FreeMGRList();
    /// Return the entered factories, except for those standard managers that `[managers] offered`
    /// leaves out. Null when no bundle ever entered one. The map is stable while the agent runs.
    const NorthMgrMap* GetNorthMgrMap() const;

    // -- requests
    /// Set the interceptor. From here on every request passes it, including those that already wait
    /// for it. Null removes the interceptor; callers then get CORBA::TRANSIENT. Returns after all
    /// calls have left the previous interceptor.
    void SetReqInterceptorImpl(RequestInterceptorBase* interceptor);
    /// True when the caller's address lies in an allowed OSS network. `ipv4` is in host byte order.
    /// 0 means that the peer has no IPv4 address; the IPv6 address of the current request is then
    /// checked.
    bool IsValidOssIP(std::uint32_t ipv4) const;

    /// True when the EMS may call the session object that an NMS passes at log-in. Every address in
    /// every profile and alternate of `reference` must be one that `[access] nms_reference` allows
    /// for the peer of the current request. Nothing is resolved or called. A refusal is traced with
    /// the address and recorded in the security log, and the address is written to `refused` unless
    /// that is null. Calls inside the process may pass any reference.
    bool IsValidNmsReference(CORBA::Object_ptr reference, std::string* refused = nullptr) const;
    /// The same check for an event consumer or a callback that an NMS passes.
    bool IsValidConsumer(CORBA::Object_ptr reference) const;

    // -- sessions
    int GetSessionReleaseStrategy() const;  ///< 0: no release, 1: by session limit, 2: by silence
    bool GetEmsPingMode() const;            ///< whether the EMS pings its NMS
    int TimeInterval() const;               ///< ping interval, seconds
    int TimeOut() const;                    ///< time-out of a call to an NMS, seconds
    int GetSilentTime() const;  ///< grace period of an unreachable or silent NMS, seconds
    int PingThreads() const;    ///< maximum number of NMS pinged at the same time
    bool CallIsLife() const;    ///< whether a call of an NMS counts as an answer to a ping
    int GetMaxSession() const;
    int IteratorRestriction() const;  ///< soft limit of open iterators
    int IteratorNum() const;          ///< hard limit of open iterators
    int IteratorsPerSession() const;  ///< maximum of open iterators of one session
    int IteratorBatchMax() const;     ///< maximum of entries in one batch of an iterator
    /// Maximum number of iterators whose next batch may be read before it is requested.
    int IteratorReadAhead() const;

    // -- identity, times
    std::string EmsName() const;     ///< CompanyName/EMSName (TMF 814 SD1-43)
    std::string IDLVersion() const;  ///< for example "3.5"
    int TimeShowAppearance() const;  ///< 0: compact, 1: with slashes
    int TimeZoneRefPoint() const;    ///< 0: UTC, otherwise local time

    // -- time-outs, in units of 100 ns
    /// Set the time limit of the calling thread's outgoing calls, connecting included. False when
    /// the ORB refuses.
    bool SetCurrentThreadTimeOutPolicy(CORBA::ORB_ptr orb, std::uint64_t limit100ns);
    /// Set the time limit of the outgoing calls of all threads that have no limit set.
    bool SetORBTimeOutPolicy(CORBA::ORB_ptr orb, std::uint64_t limit100ns);

    // -- naming and notification services
    int GetSSLMode() const;  ///< 0: off, 1: TLS and TCP, 2: TLS only
    /// Read host and port of the naming service again.
    void UpdateNamingServiceParams();
    void GetNamingServiceAddr(std::string& host, int& port, bool ssl) const;
    /// Read host and port of the notification service again. The argument is unused and may be
    /// null.
    void UpdateNotifyServiceParams(void* unused);
    void GetNotifyServiceAddr(std::string& host, int& port, bool ssl) const;
    /// With `embed`, the ORB itself serves a naming service from the next Init on, at [naming] host
    /// with port and ssl_port. Callers outside the process can only read it.
    void EmbedNamingService(bool embed);
    /// True while the ORB serves the naming service.
    bool IsNamingServiceEmbedded() const;
    /// Return the root context to register in: that of the embedded naming service while it runs,
    /// otherwise that of the service at `address` (a corbaloc text). Nil when the object there is
    /// not a naming context. Throws CORBA exceptions. The caller owns the result.
    CosNaming::NamingContext_ptr NamingRoot(const std::string& address) const;
    /// Build the factory's name: Class, Vendor, EmsInstance, Version and EmsSessionFactory_I (TMF
    /// 814 SD1-43).
    void ConstructEmsFactoryName(CosNaming::Name& name) const;
    /// Bind the reference, creating missing contexts and replacing an existing binding. Each call
    /// takes at most 2 s. Never throws. False, traced with the reason, when the reference could not
    /// be bound.
    bool RegistEMSFactoryName(CORBA::Object_ptr factory);
    /// Unbind the name if it is still bound to the reference bound last. Each call takes at most 2
    /// s. Never throws.
    void UnRegistEMSFactoryName();
    /// Write the reference to the file [naming] ior_file, readable by everyone. Does nothing when
    /// no file is configured. Never throws. False, traced with the reason, when the file could not
    /// be written.
    bool WriteFactoryReference(CORBA::Object_ptr factory);
    /// Remove the file that WriteFactoryReference wrote. Never throws.
    void RemoveFactoryReference();

    /// Release the ORB and the root POA. Must not be called while requests run;
    /// AgentServer::Destroy calls it.
    void ReleaseOrb();

    CorbaBaseAgentConfig(const CorbaBaseAgentConfig&) = delete;
    CorbaBaseAgentConfig& operator=(const CorbaBaseAgentConfig&) = delete;

  private:
    CorbaBaseAgentConfig();
    ~CorbaBaseAgentConfig();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
