#include <ace/Service_Object.h>
#include <kelp/bundlemgr/service_object.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "call_recorder.h"

#define TEXT_OF_NAME(name) #name
#define TEXT_OF(name) TEXT_OF_NAME(name)
#define JOINED_NAMES(a, b) a##b
#define JOINED(a, b) JOINED_NAMES(a, b)

namespace {

const std::string kName = TEXT_OF(BUNDLE_NAME);

CallRecorder& recorder() {
    return *dynamic_cast<CallRecorder*>(NS_BUNDLEMGR1::RequireIF(CallRecorder::kKey));
}

class RecordingService : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    RecordingService() : ServiceObjectBase("test_bundle", kName.c_str()) {}
    ~RecordingService() override { recorder().called(kName, "destroyed"); }

    int init(int argc, char* argv[]) override {
        recorder().called(kName, argc == 0 && argv != nullptr && argv[0] == nullptr
                                     ? "init"
                                     : "init with arguments");
        const std::string behaviour = recorder().behaviour(kName);
        if (behaviour == "init throws")
            throw std::runtime_error("the port is taken");
        return behaviour == "init fails" ? 7 : 0;
    }
    void Shutdown() override {
        recorder().called(kName, "Shutdown");
        if (recorder().behaviour(kName) == "Shutdown throws")
            throw std::runtime_error("cannot stop");
    }
    int fini() override {
        recorder().called(kName, "fini");
        return recorder().behaviour(kName) == "fini fails" ? -1 : 0;
    }
};

}  // namespace

extern "C" {

static void destroy(void* made) {
    recorder().called(kName, "deleter");
    std::unique_ptr<ACE_Service_Object>(static_cast<ACE_Service_Object*>(made)).reset();
}

KELP_EXPORT ACE_Service_Object* JOINED(_make_,
                                       BUNDLE_NAME)(ACE_Service_Object_Exterminator* deleter);

ACE_Service_Object* JOINED(_make_, BUNDLE_NAME)(ACE_Service_Object_Exterminator* deleter) {
#ifdef WITHOUT_DELETER
    (void)deleter;
    (void)&destroy;
#else
    *deleter = &destroy;
#endif
    if (recorder().behaviour(kName) == "nothing is made")
        return nullptr;
    return std::make_unique<RecordingService>().release();
}
}
