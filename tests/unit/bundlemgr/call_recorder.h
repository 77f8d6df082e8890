#pragma once

#include <kelp/bundlemgr/service_object.h>

#include <map>
#include <string>
#include <vector>

/// What the test's bundles find in the registry: they write down what is done to them and ask how
/// to behave.
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
    /// "init fails", "init throws", "Shutdown throws", "fini fails", "nothing is made"; empty for
    /// well-behaved.
    virtual std::string behaviour(const std::string& bundle) { return behaviours[bundle]; }

    std::vector<std::string> calls;
    std::map<std::string, std::string> behaviours;
};
