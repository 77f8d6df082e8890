#pragma once

#include <kelp/agent/error_translation.h>
#include <mtnm/common.h>

#include <span>

namespace kelp::managers {

// Every manager has one list of all operations of its interface, with the inherited ones first. It
// is a file of lines MANAGER_OPERATION(module, interface, operation, (C++ parameters), Supported or
// Unsupported). The declarations of the servant and the result of getCapabilities are both
// generated from it.

/// Declares the operation. An unsupported one throws EXCPT_NOT_IMPLEMENTED.
#define MANAGER_DECLARE(module, interface, operation, parameters, support) \
    MANAGER_DECLARE_##support(operation, parameters)
#define MANAGER_DECLARE_Supported(operation, parameters) void operation parameters override;
#define MANAGER_DECLARE_Unsupported(operation, parameters)                    \
    void operation parameters override {                                      \
        NS_KELPCORBA::ThrowException(NS_KELPCORBA::kOperationNotImplemented); \
    }

/// The operation's entry in the result of getCapabilities.
#define MANAGER_CAPABILITY(module, interface, operation, parameters, support) \
    kelp::managers::Capability{#module "::" #interface "::" #operation, #support},

struct Capability {
    const char* name;
    const char* value;
};

/// Return the result of getCapabilities, which the caller owns.
common::CapabilityList_T* capabilityList(std::span<const Capability> capabilities);

}  // namespace kelp::managers
