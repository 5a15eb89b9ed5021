# Runs between the installation into the packages' directories and their packing: what only Debian
# asks for.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")
    string(TOUPPER "${component}" component)
    set(package "${CPACK_DEBIAN_${component}_PACKAGE_NAME}")
    set(changelog "${root}/share/doc/${package}/changelog")
    file(WRITE "${changelog}"
         "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
         "  * What has changed is told in CHANGELOG.md of ${CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME}."
         "\n\n -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")
    file(CHMOD_RECURSE "${root}/share/doc"
         FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
         DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                               WORLD_READ WORLD_EXECUTE)
    file(GLOB manuals "${root}/share/man/man*/*")
    execute_process(COMMAND gzip -9 -n "${changelog}" ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# CMake strips what is linked; an archive keeps its symbols, and loses its debugging information.
file(GLOB_RECURSE archives "${CPACK_TEMPORARY_DIRECTORY}/*.a")
execute_process(COMMAND "${CPACK_ZATOSW_STRIP}" --strip-debug --enable-deterministic-archives
                        ${archives} COMMAND_ERROR_IS_FATAL ANY)
