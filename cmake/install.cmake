# Where `cmake --install` puts the tools, library, headers, package files, manual and documents.

include(CMakePackageConfigHelpers)

install(TARGETS zel EXPORT zelTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET zel_combine)
    install(TARGETS zel_combine RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY libsrc/zel/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel
    FILES_MATCHING PATTERN "*.h")

set(zel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zel)
install(EXPORT zelTargets NAMESPACE zel:: DESTINATION ${zel_package_dir})
configure_package_config_file(cmake/zelConfig.cmake.in ${PROJECT_BINARY_DIR}/zelConfig.cmake
    INSTALL_DESTINATION ${zel_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelConfig.cmake ${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
    DESTINATION ${zel_package_dir})

# pkg-config: paths relative to the file, so that the tree can be moved; the C++ run-time library by
# name, because a C compiler may do the linking.
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY /prefix OUTPUT_VARIABLE zel_pc_libdir)
cmake_path(SET zel_pc_up NORMALIZE "${zel_pc_libdir}/pkgconfig")
cmake_path(RELATIVE_PATH zel_pc_up BASE_DIRECTORY /prefix OUTPUT_VARIABLE zel_pc_up)
string(REGEX REPLACE "[^/]+" ".." zel_pc_up "${zel_pc_up}")
if("c++" IN_LIST CMAKE_CXX_IMPLICIT_LINK_LIBRARIES)
    set(zel_pc_cxx_library -lc++)
else()
    set(zel_pc_cxx_library -lstdc++)
endif()
configure_file(cmake/zel.pc.in ${PROJECT_BINARY_DIR}/zel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

foreach(section 1 3 5)
    file(GLOB zel_man_pages CONFIGURE_DEPENDS docs/man/*.${section})
    install(FILES ${zel_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

# The documents in the arrangement of the source tree, so that their links hold.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE SECURITY.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
    PATTERN __pycache__ EXCLUDE)

# What the documents lead with. OPTIONAL: a build of the tools alone can be installed too.
install(PROGRAMS examples/zel_to_vrt.py DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET quicklook)
    install(PROGRAMS $<TARGET_FILE:quicklook> DESTINATION ${CMAKE_INSTALL_BINDIR}
        RENAME zel_quicklook OPTIONAL)
endif()

if(PROJECT_IS_TOP_LEVEL)
    set(CPACK_GENERATOR TGZ DEB)
    set(CPACK_PACKAGE_VENDOR "the ZEL developers")
    set(CPACK_PACKAGE_CONTACT "the ZEL developers")
    set(CPACK_PACKAGE_CHECKSUM SHA256)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
    include(CPack)
endif()
