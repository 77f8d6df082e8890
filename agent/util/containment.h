#pragma once

#include <kelp/corbabase/trace.h>
#include <kelp/orb/corba.h>

#include <exception>
#include <string>

namespace NS_KELPCORBA {

/// Run one step of the start or stop. Trace an exception under `operation` and let it go no
/// further, because the next step has to run. Return false when the step threw.
template <class Step>
bool contained(const char* subject, const std::string& operation, Step step) {
    try {
        step();
        return true;
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(subject);
        NS_CORBA::TaException(ex, (operation + " Exception raised!").c_str());
    } catch (const std::exception& ex) {
        NS_CORBA::tracePoint(subject);
        NS_CORBA::TaTrace("%s Exception raised! %s", operation.c_str(), ex.what());
    } catch (...) {
        NS_CORBA::tracePoint(subject);
        NS_CORBA::TaTrace("%s Unknown exception raised!", operation.c_str());
    }
    return false;
}

}  // namespace NS_KELPCORBA
