#pragma once

#include <kelp/corbabase/trace.h>
#include <kelp/orb/corba.h>

#include <exception>
#include <string>

#include "util/trace_point.h"

namespace NS_KELPCORBA {

/// Runs one step of the start or stop. What it throws is traced under `operation` and goes no
/// further: the step that comes next, or the host, must not suffer. False when it threw.
template <class Step>
bool contained(const char* subject, const std::string& operation, Step step) {
    try {
        step();
        return true;
    } catch (const CORBA::Exception& ex) {
        tracePoint(subject);
        NS_CORBA::TaException(ex, (operation + " Exception raised!").c_str());
    } catch (const std::exception& ex) {
        tracePoint(subject);
        NS_CORBA::TaTrace("%s Exception raised! %s", operation.c_str(), ex.what());
    } catch (...) {
        tracePoint(subject);
        NS_CORBA::TaTrace("%s Unknown exception raised!", operation.c_str());
    }
    return false;
}

}  // namespace NS_KELPCORBA
