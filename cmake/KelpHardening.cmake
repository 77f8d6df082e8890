# Options that make the built files harder to attack. scripts/check_hardening checks the files for their effects.

# Stack protector, probing of large stack frames, marks for indirect jumps and returns, checked variants of the C
# library's functions. The checked variants need optimisation, so these options are for optimised builds without
# sanitizers, which bring checks themselves.
set(KELP_HARDENED_COMPILATION
    -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)

# For every build: function addresses are resolved at the start and read-only from then on, and no stack is executable.
set(KELP_HARDENED_LINKING -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# kelp_harden(<target>)
# Links a library or program that is installed with these options, and adds it to the check of the built files.
function(kelp_harden target)
    target_link_options(${target} PRIVATE ${KELP_HARDENED_LINKING})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
        target_link_options(${target} PRIVATE -pie)
    endif()
    set_property(GLOBAL APPEND PROPERTY KELP_HARDENED_TARGETS ${target})
endfunction()

# kelp_hardening_check(<variable>)
# Sets the variable to the arguments of scripts/check_hardening for all hardened targets of this build and for the stubs.
# Call it after the last kelp_harden.
function(kelp_hardening_check arguments)
    get_property(targets GLOBAL PROPERTY KELP_HARDENED_TARGETS)
    set(files ${targets})
    list(TRANSFORM files REPLACE "(.+)" "$<TARGET_FILE:\\1>")
    if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR KELP_SANITIZE)
        set(${arguments} --linked ${files} --compiled $<TARGET_FILE:kelp_mtnm> PARENT_SCOPE)
    else()
        set(${arguments} --compiled ${files} $<TARGET_FILE:kelp_mtnm> PARENT_SCOPE)
    endif()
endfunction()
