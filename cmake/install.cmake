# What is installed beside the files of each directory, and what finds the whole of it again: a
# package of CMake, a package of pkg-config. Components: Runtime, Development, Tools, Documentation.
include(CMakePackageConfigHelpers)

set(packages "${PROJECT_BINARY_DIR}/packages")
set(config_directory "${CMAKE_INSTALL_LIBDIR}/cmake/zatosw")
configure_package_config_file(cmake/zatosw-config.cmake.in "${packages}/zatosw-config.cmake"
                              INSTALL_DESTINATION "${config_directory}"
                              NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${packages}/zatosw-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${packages}/zatosw-config.cmake" "${packages}/zatosw-config-version.cmake"
        DESTINATION "${config_directory}" COMPONENT Development)
install(EXPORT zatosw NAMESPACE zatosw:: FILE zatosw-targets.cmake
        DESTINATION "${config_directory}" COMPONENT Development)

# Found from where the file lies, so that the tree may be installed, unpacked or moved anywhere.
file(RELATIVE_PATH up_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" up_to_prefix "${up_to_prefix}")
string(JOIN " " libraries_of_static -lstdc++ -pthread ${CMAKE_DL_LIBS})
string(REGEX REPLACE " ([a-z])" " -l\\1" libraries_of_static "${libraries_of_static}")
configure_file(cmake/zatosw.pc.in "${packages}/zatosw.pc" @ONLY)
install(FILES "${packages}/zatosw.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
        COMPONENT Development)

install(FILES README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        COMPONENT Documentation)
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT Documentation
        FILES_MATCHING PATTERN "*.md" PATTERN reference EXCLUDE)
