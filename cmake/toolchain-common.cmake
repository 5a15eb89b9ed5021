# What the toolchain files share: compilers from a prefix, an optional sysroot.
# The prefix may carry a directory: /opt/firmware/bin/powerpc-linux-gnu-

# CMake reads a toolchain file again for each of its compiler checks; these reach them, too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZATOSW_TOOLCHAIN_PREFIX ZATOSW_SYSROOT)

set(ZATOSW_SYSROOT "" CACHE PATH "Root directory of the target's libraries; empty = the compiler's")
if(ZATOSW_SYSROOT)
    set(CMAKE_SYSROOT "${ZATOSW_SYSROOT}")
    # What this machine has for itself is nothing for the target. Packages may lie elsewhere, too:
    # CMAKE_PREFIX_PATH leads to what is not in the system root yet.
    set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
    set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER "${ZATOSW_TOOLCHAIN_PREFIX}gcc")
set(CMAKE_CXX_COMPILER "${ZATOSW_TOOLCHAIN_PREFIX}g++")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
