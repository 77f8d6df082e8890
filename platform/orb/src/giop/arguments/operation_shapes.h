#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "giop/arguments/type_table.h"

namespace kelp::orb::giop {

/// An operation with an any or a TypeCode in its parameters.
struct OperationShape {
    std::string_view name;
    std::uint32_t parameters;  ///< place of the struct of its in and inout parameters
};

/// All such operations of the interfaces in the build, sorted by name. Generated from the IDL.
std::span<const OperationShape> operationShapes();
/// The types of their parameters.
std::span<const TypeNode> shapeNodes();
std::span<const TypePart> shapeParts();

/// Return the place of the struct of an operation's parameters; nothing for an operation that is
/// not in the table.
std::optional<std::uint32_t> parametersOf(std::string_view operation);

}  // namespace kelp::orb::giop
