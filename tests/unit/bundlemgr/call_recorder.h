#pragma once

#include <kelp/bundlemgr/service_object.h>

#include <map>
#include <string>
#include <vector>

/// An interface that the test's bundles find in the registry. They record the calls they receive
/// and ask how to behave.
class CallRecorder : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    static constexpr const char* kKey = "CallRecorder";

    CallRecorder() { NS_BUNDLEMGR1::SetIFBuf(kKey, this); }
    ~CallRecorder() override { NS_BUNDLEMGR1::RemoveIFBuf(this); }
    CallRecorder(const CallRecorder&) = delete;
    CallRecorder& operator=(const CallRecorder&) = delete;

    const char* GetInterfaceName() const override { return kKey; }
    int GetInterfaceVersion() const override { return 1; }

    virtual void called(const std::string& bundle, const std::string& operation) {
        calls.push_back(bundle + " " + operation);
    }
    /// Return "init fails", "init throws", "Shutdown throws", "fini fails" or "nothing is made";
    /// empty for normal behaviour.
    virtual std::string behaviour(const std::string& bundle) { return behaviours[bundle]; }

    std::vector<std::string> calls;
    std::map<std::string, std::string> behaviours;
};
