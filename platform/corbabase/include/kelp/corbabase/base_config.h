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

/// The agent's base configuration: owns the ORB and the root POA, answers the platform settings
/// (from the configuration store, read anew at Init and on reload), keeps the managers that bundles
/// enter, and registers the session factory in the naming service. One for the process; it outlives
/// the agent's start and stop. Callable from any thread.
class KELP_EXPORT CorbaBaseAgentConfig {
  public:
    static CorbaBaseAgentConfig* Instance();

    /// Reads the settings and starts the ORB, with the interception of requests in place before the
    /// first can arrive. False, traced with the reason, when a setting is unusable or an endpoint
    /// cannot be opened. Calling it again while the ORB runs keeps the ORB.
    bool Init(const char* bundleName);

    /// New duplicates, which the caller owns. Throw CORBA::BAD_INV_ORDER while no ORB runs.
    CORBA::ORB_ptr GetOrb() const;
    PortableServer::POA_ptr GetRootPoa() const;

    // -- managers, entered by bundles before the agent starts
    /// The interface stays the bundle's, which leaves it in place until the agent has stopped.
    void EnterManagerInterface(CorbaI* managerInterface);
    void LeaveManagerInterface(CorbaI* managerInterface);
    /// False when the name is taken. The factory stays the bundle's.
    bool EnterNorthMgrFactory(const std::string& managerName, NorthMgrFactory* factory);
    void LeaveNorthMgrFactory(const std::string& managerName);
    /// The same for a manager that is there only while nobody else has entered one of that name.
    void EnterFallbackMgrFactory(const std::string& managerName, NorthMgrFactory* factory);
    void LeaveFallbackMgrFactory(const std::string& managerName);
    /// The entered interfaces in order of entry; null when none was ever entered. Locked against
    /// entering and leaving until the same thread calls FreeMGRList().
    const MGRList* GetMGRList();
    void FreeMGRList();
    /// The entered factories, without the standard's managers that `[managers] offered` leaves out;
    /// null when no bundle ever entered one. Stable while the agent runs.
    const NorthMgrMap* GetNorthMgrMap() const;

    // -- requests
    /// From here on every request passes `interceptor`, those that have been waiting for it first.
    /// Null takes it out again: callers then get CORBA::TRANSIENT; returns after the calls running
    /// inside the interceptor have left it.
    void SetReqInterceptorImpl(RequestInterceptorBase* interceptor);
    /// True when the caller's address lies in an allowed OSS network. `ipv4` in host byte order; 0
    /// means that the peer has no IPv4 address: then the IPv6 address of the request in hand
    /// decides.
    bool IsValidOssIP(std::uint32_t ipv4) const;

    /// True when the EMS may call back what an NMS that logs in calls its own session object: every
    /// address in `reference`, whatever profile or alternate it stands in, is one that `[access]
    /// nms_reference` allows for the peer of the request in hand. Nothing is resolved or called.
    /// False is traced with the address, and stands in the security log; the address is written to
    /// `refused`, if given. Calls inside the process may name any.
    bool IsValidNmsReference(CORBA::Object_ptr reference, std::string* refused = nullptr) const;
    /// The same for a consumer of events, or a callback, that an NMS brings.
    bool IsValidConsumer(CORBA::Object_ptr reference) const;

    // -- sessions
    int GetSessionReleaseStrategy() const;  ///< 0 none, 1 limit, 2 silence
    bool GetEmsPingMode() const;            ///< the EMS pings its NMS
    int TimeInterval() const;               ///< ping interval, seconds
    int TimeOut() const;                    ///< limit of a call to an NMS, seconds
    int GetSilentTime() const;              ///< seconds an unreachable or silent NMS is waited for
    int PingThreads() const;                ///< most NMS that are pinged at the same time
    bool CallIsLife() const;                ///< a call of an NMS counts like an answer to a ping
    int GetMaxSession() const;
    int IteratorRestriction() const;  ///< soft limit of open iterators
    int IteratorNum() const;          ///< hard limit of open iterators
    int IteratorsPerSession() const;  ///< most open iterators of one session
    int IteratorBatchMax() const;     ///< most entries of one batch of an iterator
    int IteratorReadAhead()
        const;  ///< iterators whose next batch may be held before it is asked for

    // -- identity, times
    std::string EmsName() const;     ///< CompanyName/EMSName (TMF 814 SD1-43)
    std::string IDLVersion() const;  ///< such as "3.5"
    int TimeShowAppearance() const;  ///< 0 compact, 1 slashed
    int TimeZoneRefPoint() const;    ///< 0 UTC, otherwise local

    // -- time-outs, in units of 100 ns
    /// Limit of the calling thread's outgoing calls, connecting included. False when the ORB
    /// refuses.
    bool SetCurrentThreadTimeOutPolicy(CORBA::ORB_ptr orb, std::uint64_t limit100ns);
    /// Limit of all outgoing calls where no thread limit is set.
    bool SetORBTimeOutPolicy(CORBA::ORB_ptr orb, std::uint64_t limit100ns);

    // -- naming and notification services
    int GetSSLMode() const;  ///< 0 off, 1 TLS beside TCP, 2 TLS only
    /// Reads host and port of the naming service anew.
    void UpdateNamingServiceParams();
    void GetNamingServiceAddr(std::string& host, int& port, bool ssl) const;
    /// Reads host and port of the notification service anew; the argument is unused and may be
    /// null.
    void UpdateNotifyServiceParams(void* unused);
    void GetNotifyServiceAddr(std::string& host, int& port, bool ssl) const;
    /// From the next Init on the ORB serves a naming service itself, at [naming] host with port and
    /// ssl_port, that others can only read.
    void EmbedNamingService(bool embed);
    /// True while the ORB serves it.
    bool IsNamingServiceEmbedded() const;
    /// The root context to register in: that of the embedded naming service while it runs, else
    /// that of the service at `address` (a corbaloc text). Nil when something else is there. Throws
    /// CORBA exceptions; the caller owns the result.
    CosNaming::NamingContext_ptr NamingRoot(const std::string& address) const;
    /// The factory's name: Class, Vendor, EmsInstance, Version and EmsSessionFactory_I (TMF 814
    /// SD1-43).
    void ConstructEmsFactoryName(CosNaming::Name& name) const;
    /// Binds the reference, making missing contexts and replacing what is bound. Bounded by the
    /// calling thread's limit or 2 s a call; never throws. False, traced with the reason, when it
    /// could not be bound.
    bool RegistEMSFactoryName(CORBA::Object_ptr factory);
    /// Unbinds the name if it is still bound to the reference bound last. Bounded likewise; never
    /// throws.
    void UnRegistEMSFactoryName();
    /// Writes the reference to [naming] ior_file, if that names a file, for all to read. Never
    /// throws. False, traced with the reason, when it could not be written.
    bool WriteFactoryReference(CORBA::Object_ptr factory);
    /// Removes the file that WriteFactoryReference has written. Never throws.
    void RemoveFactoryReference();

    /// Calling while requests run is an error; AgentServer::Destroy does it. Drops ORB and root
    /// POA.
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
