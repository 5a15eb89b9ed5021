# 32-bit x86. Its programs run on an amd64 kernel as they are.
set(ZATOSW_TOOLCHAIN_PREFIX "i686-linux-gnu-" CACHE STRING "Prefix of the compiler's commands")
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake")
set(CMAKE_SYSTEM_PROCESSOR i686)
