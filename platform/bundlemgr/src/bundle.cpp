#include "bundle.h"

#include <dlfcn.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <memory>
#include <optional>
#include <system_error>
#include <utility>

namespace NS_BUNDLEMGR1 {

namespace {

using Factory = ACE_Service_Object* (*)(ACE_Service_Object_Exterminator*);

void trace(const std::string& text) {
    kelp::util::traceFrom("bundlemgr", text);
}

/// Call into a bundle. If it throws, store the reason in `whyNot`, or trace it if `whyNot` is null.
template <class Call>
bool called(const std::string& what, Call call, std::string* whyNot = nullptr) {
    try {
        call();
        return true;
    } catch (...) {
        const std::string text = what + " threw: " + kelp::util::currentExceptionText();
        if (whyNot != nullptr)
            *whyNot = text;
        else
            trace(text);
        return false;
    }
}

}  // namespace

Bundle::Bundle(const std::filesystem::path& directory, const std::string& service)
    : service_(service), file_(std::filesystem::absolute(directory) / ("lib" + service + ".so")) {}

bool Bundle::start(std::string& whyNot) {
    return open(whyNot) && make(whyNot) && init(whyNot);
}

bool Bundle::open(std::string& whyNot) {
    std::error_code error;
    if (!std::filesystem::exists(file_, error)) {
        whyNot = "bundle " + service_ + " cannot be loaded: there is no file " + file_.string();
        return false;
    }
    // RTLD_NOW, so that a missing symbol stops the host here and not during a request
    if (dll_.open(file_.c_str(), RTLD_NOW) != 0) {
        const char* const reason = dll_.error();
        whyNot = "bundle " + service_ +
                 " cannot be loaded: " + (reason != nullptr ? reason : "unknown reason");
        return false;
    }
    return true;
}

bool Bundle::make(std::string& whyNot) {
    const std::string symbol = "_make_" + service_;
    const auto factory = reinterpret_cast<Factory>(dll_.symbol(symbol.c_str(), 0));
    if (factory == nullptr) {
        const char* const reason = dll_.error();
        whyNot = "bundle " + service_ + " has no factory function " + symbol + ": " +
                 (reason != nullptr ? reason : "unknown reason");
        return false;
    }
    if (!called(
            symbol, [&] { made_ = factory(&deleter_); }, &whyNot))
        return false;
    object_ = dynamic_cast<ServiceObjectBase*>(made_);
    if (object_ == nullptr) {
        whyNot = "bundle " + service_ + ": " + symbol +
                 (made_ == nullptr ? " made no service object"
                                   : " made no NS_BUNDLEMGR1::ServiceObjectBase");
        return false;
    }
    return true;
}

bool Bundle::init(std::string& whyNot) {
    int result = -1;
    char* noArguments[] = {nullptr};
    if (!called(
            "init of bundle " + service_, [&] { result = object_->init(0, noArguments); }, &whyNot))
        return false;
    if (result != 0) {
        whyNot = "bundle " + service_ + " did not start: init returned " + std::to_string(result);
        return false;
    }
    isInitialised_ = true;
    return true;
}

void Bundle::stop() {
    if (std::exchange(isInitialised_, false))
        called("Shutdown of bundle " + service_, [&] { object_->Shutdown(); });
    if (made_ != nullptr)
        destroyObject();
}

void Bundle::keepLoaded() {
    // takes the handle away from ACE and never closes it
    static_cast<void>(dll_.get_handle(true));
}

void Bundle::destroyObject() {
    if (object_ != nullptr) {
        called("fini of bundle " + service_, [&] {
            if (const int result = object_->fini(); result != 0)
                trace("fini of bundle " + service_ + " returned " + std::to_string(result));
        });
    }
    object_ = nullptr;
    ACE_Service_Object* const made = std::exchange(made_, nullptr);
    called("the deleter of bundle " + service_, [&] {
        if (deleter_ != nullptr)
            deleter_(made);
        else
            std::unique_ptr<ACE_Service_Object>(made).reset();
    });
}

}  // namespace NS_BUNDLEMGR1
