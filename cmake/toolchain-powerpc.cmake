# 32-bit PowerPC, big-endian. Its programs run under user-mode emulation.
set(ZATOSW_TOOLCHAIN_PREFIX "powerpc-linux-gnu-" CACHE STRING "Prefix of the compiler's commands")
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake")
set(CMAKE_SYSTEM_PROCESSOR ppc)

if(ZATOSW_SYSROOT)
    set(ZATOSW_EMULATOR "qemu-ppc;-L;${ZATOSW_SYSROOT}" CACHE STRING "Starts a target program")
else()
    set(ZATOSW_EMULATOR "qemu-ppc;-L;/usr/powerpc-linux-gnu" CACHE STRING "Starts a target program")
endif()
