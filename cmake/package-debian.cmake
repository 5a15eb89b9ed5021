# Debian packages, one for each component; `make package` makes them.
#
# What they depend on is told here: the tools of Debian that find it out ask the package manager of
# the machine that builds, which is of another architecture. tests/package/debian.sh holds the
# versions against those that the files need.
set(debian "${PROJECT_BINARY_DIR}/debian")
set(runtime_package "libzatosw${PROJECT_VERSION_MAJOR}")
set(c_and_cxx_runtime "libc6 (>= 2.34), libgcc-s1 (>= 7), libstdc++6 (>= 11)")

# Control files of the library: which symbols it has since when, what depends on the rest of it.
set(symbols_file "libzatosw.so.${PROJECT_VERSION_MAJOR} ${runtime_package} #MINVER#\n")
string(APPEND symbols_file " ZATOSW_1.0@ZATOSW_1.0 1.0.0\n")
file(STRINGS core_src/exports.list lines REGEX "^[A-Za-z_]")
foreach(line IN LISTS lines)
    string(REGEX MATCH "^([^ ]+) *([^ ]*)" line "${line}")
    set(since "${CMAKE_MATCH_2}")
    if(NOT since)
        set(since 1.0.0)
    endif()
    string(APPEND symbols_file " ${CMAKE_MATCH_1}@ZATOSW_1.0 ${since}\n")
endforeach()
file(CONFIGURE OUTPUT "${debian}/symbols" CONTENT "${symbols_file}" @ONLY)
file(CONFIGURE OUTPUT "${debian}/shlibs"
     CONTENT "libzatosw ${PROJECT_VERSION_MAJOR} ${runtime_package} (>= ${PROJECT_VERSION})\n")
file(CONFIGURE OUTPUT "${debian}/triggers" CONTENT "activate-noawait ldconfig\n")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zatosw)
set(CPACK_PACKAGE_CONTACT "zatosw developers <noreply@zatosw.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_COMPONENTS_ALL Runtime Development Tools Documentation)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/package-finish.cmake")
set(CPACK_ZATOSW_STRIP "${CMAKE_STRIP}")
# A package has the same permissions whoever makes it.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${ZATOSW_DEBIAN_ARCHITECTURE}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${c_and_cxx_runtime}")
# What the calls for removable disks run.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS mtools)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${debian}/symbols" "${debian}/shlibs" "${debian}/triggers")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "operating-system layer for the processes of a controller
Tasks, semaphores, message queues, timers and checked memory, the same
objects shared by name between processes, a trace, logs in memory and a
console, behind one C interface.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzatosw-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), libc6-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "zatosw-doc, zatosw-tools, libstdc++-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "operating-system layer for a controller: development files
The headers of libzatosw, its static library, and what CMake and
pkg-config need to find them. A program in C that is linked with the
static library needs libstdc++-dev, too.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zatosw-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${c_and_cxx_runtime}")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "operating-system layer for a controller: tools
zatlog prints the log files that controllers write, and zatipc looks at
what the processes of this machine share by name.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME zatosw-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION
    "operating-system layer for a controller: documentation
What libzatosw offers and how it works inside: its architecture, the
decisions behind it, its speed, and how it comes onto a board.")

include(CPack)
