#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>
#include <kelp/util/mutex.h>
#include <mtnm/common.h>
#include <mtnm/emsSessionFactory.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace NS_KELPCORBA {

/// The agent's own northbound options, from the [agent] table of the configuration, and the
/// reference of the session factory. This class only stores the options. The bundles of the agent
/// decide what each of them means.
///
/// The brackets after each accessor give its value before the first read, and its value after a
/// read in which the key is missing or unreadable. "Kept" means that the option then keeps its
/// value.
///
/// The process has one instance. The first Instance() makes it, and the agent's stop destroys it.
/// Any thread may call it, also while ReConfig reads the options again: a reader then gets either
/// the old or the new value of each option. Numbers and switches are atomic. `mutex_` guards the
/// texts and the reference. Nothing throws.
class KELP_EXPORT CorbaAgentConfig {
  public:
    static CorbaAgentConfig* Instance();
    /// Release the factory's reference and the instance. Does nothing when there is no instance.
    static void Destroy();

    /// Read all options. Always return true: a missing or unreadable key is not an error. It is
    /// traced at debug level 2.
    bool Init();
    bool ReConfig();
    bool GetOption();

    // -- naming rules
    /// An NMS that logs in again gets its live session back (false, kept).
    bool IsUseBTName() const;
    bool IsUseNuzakummokRule() const;               ///< (false, kept)
    bool IsUsePhysicalID() const;                   ///< (false, kept)
    std::int32_t GetResourceNameType() const;       ///< (0, falls back to 0)
    std::int32_t GetFilterResourceIDLevel() const;  ///< (0, falls back to 0)

    // -- alarms and notification
    bool IsReportCrossConn() const;              ///< (false, kept)
    bool IsReportAckAlarm() const;               ///< (false, kept)
    std::int32_t GetNotifyModel() const;         ///< (3, falls back to 3)
    std::int32_t GetHeartbeatEventType() const;  ///< (0, falls back to 0)
    std::int32_t GetAlarmCompatibility() const;  ///< (0, falls back to 0)
    bool GetTasizeisfaf() const;                 ///< (false, kept)
    /// In entries (1000 before the first read, falls back to 10000).
    std::int32_t GetCachesize() const;
    std::int32_t GetEventlistsize() const;  ///< entries (500, falls back to 500)
    /// In entries (1000 before the first read, falls back to 10000).
    std::int32_t GetNotifyalarmscache() const;
    std::int32_t GetCharacterSetSwitch() const;  ///< (0, falls back to 0)
    /// (false before the first read, falls back to true)
    bool isAlarmProbableCauseQualifierCompatible() const;
    std::int32_t GetAlarmTCASwitch() const;  ///< (0, falls back to 0)
    /// Traces the value at debug level 3 on every call (0, kept).
    std::int32_t GetAlarmReportSub() const;

    // -- file transfer
    std::int32_t FTP_Type() const;             ///< (0, kept)
    std::int32_t FTP_SSL_ConnectMode() const;  ///< (18, kept)
    std::int32_t FTP_SSL_AuthMode() const;     ///< (1, kept)
    std::int32_t FTP_Port() const;             ///< (22, kept)
    std::string FTP_TrustedCer() const;        ///< path (kept)
    std::string FTP_ClientCer() const;         ///< path (kept)
    std::string FTP_PrivateKey() const;  ///< path, by default the client certificate's file (kept)

    // -- devices
    std::string GetMaxSupportNE() const;          ///< (empty, kept)
    std::int32_t GetAccDevCompatibility() const;  ///< (0, kept)
    /// Always 0: no key sets it.
    std::int32_t GetAccTestSwitch() const;

    // -- session factory and manager servants
    /// Activate the session factory in its persistent POA "V4800" with the object id
    /// "EMSSessionFactory", and keep its reference in place of any earlier one. On failure return
    /// false and trace the reason.
    bool InitEmsSessionFactoryIImplObj();
    /// Return a duplicate, which the caller owns. Nil before InitEmsSessionFactoryIImplObj has
    /// succeeded.
    emsSessionFactory::EmsSessionFactory_I_ptr GetEmsSessionFactoryIImplObj() const;
    /// Register the servant of a manager (TMF 814 getManager) by name for all sessions. It replaces
    /// any servant of that name. Takes a reference on the servant. A null name or servant is traced
    /// and ignored.
    void RegisterServant(const char* name, POA_common::Common_I* servant);

    CorbaAgentConfig(const CorbaAgentConfig&) = delete;
    CorbaAgentConfig& operator=(const CorbaAgentConfig&) = delete;

  private:
    struct __attribute__((visibility("hidden"))) Option;

    CorbaAgentConfig() = default;
    ~CorbaAgentConfig() = default;

    using Number = std::atomic<std::int32_t>;
    using Switch = std::atomic<bool>;

    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "CorbaAgentConfig::mutex_"};
    std::string maxSupportNE_ KELP_GUARDED_BY(mutex_);
    std::string ftpTrustedCer_ KELP_GUARDED_BY(mutex_) = "../conf/certificate/ca_cert.cer";
    std::string ftpClientCer_ KELP_GUARDED_BY(mutex_) = "../conf/certificate/corbaagent.cer";
    /// Deliberately the file of the client certificate, which holds the key too.
    std::string ftpPrivateKey_ KELP_GUARDED_BY(mutex_) = "../conf/certificate/corbaagent.cer";
    emsSessionFactory::EmsSessionFactory_I_var sessionFactory_ KELP_GUARDED_BY(mutex_);
    Number ftpType_{0};
    Number ftpSslConnectMode_{18};
    Number ftpSslAuthMode_{1};
    Number ftpPort_{22};
    Number notifyModel_{3};
    Number resourceNameType_{0};
    Number filterResourceIdLevel_{0};
    Number cacheSize_{1000};
    Number eventListSize_{500};
    Number notifyAlarmsCache_{1000};
    Number characterSetSwitch_{0};
    Number alarmTcaSwitch_{0};
    Number accTestSwitch_{0};
    Number accDevCompatibility_{0};
    Number heartbeatEventType_{0};
    Number alarmCompatibility_{0};
    Number reportSubnet_{0};
    Switch useBTName_{false};
    Switch useNuzakummokRule_{false};
    Switch usePhysicalId_{false};
    Switch reportCrossConn_{false};
    Switch reportAckAlarm_{false};
    Switch tasizeisfaf_{false};
    Switch probableCauseQualifierCompatible_{false};
};

}  // namespace NS_KELPCORBA
