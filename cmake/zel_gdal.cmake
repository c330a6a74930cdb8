# The drivers ZEL and VORN, a plugin of GDAL. Only the plugin needs GDAL's package.

set(ZEL_GDAL AUTO CACHE STRING "Build the GDAL plugin: AUTO (where GDAL is), ON, OFF")
set_property(CACHE ZEL_GDAL PROPERTY STRINGS AUTO ON OFF)
set(ZEL_GDAL_PLUGIN_DIR "" CACHE PATH "Where the GDAL plugin is installed; empty: gdalplugins beside the library")
if(NOT ZEL_GDAL STREQUAL OFF)
    find_package(GDAL CONFIG QUIET)
    if(GDAL_FOUND AND GDAL_VERSION VERSION_LESS 3.6)
        set(GDAL_FOUND FALSE)
    endif()
    if(NOT GDAL_FOUND AND ZEL_GDAL STREQUAL ON)
        message(FATAL_ERROR "The GDAL plugin needs GDAL 3.6 or newer; ZEL_GDAL=OFF builds without it")
    elseif(NOT GDAL_FOUND)
        message(STATUS "GDAL 3.6 or newer not found: the GDAL plugin is not built")
    endif()
endif()

if(NOT ZEL_GDAL STREQUAL OFF AND GDAL_FOUND)
    file(GLOB zel_gdal_sources CONFIGURE_DEPENDS gdal/*.cpp embed/*.cpp)
    add_library(gdal_ZEL MODULE ${zel_gdal_sources})
    zel_own_target(gdal_ZEL)
    target_include_directories(gdal_ZEL PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(gdal_ZEL PRIVATE zel GDAL::GDAL)
    # GDAL looks for one name. The library's own stay inside: another plugin may hold another version.
    target_link_options(gdal_ZEL PRIVATE
        "LINKER:--version-script=${PROJECT_SOURCE_DIR}/gdal/exports.map")
    set_target_properties(gdal_ZEL PROPERTIES
        PREFIX ""
        LINK_DEPENDS ${PROJECT_SOURCE_DIR}/gdal/exports.map
        CXX_VISIBILITY_PRESET hidden
        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib/gdalplugins)
    set(zel_gdal_plugin_dir ${ZEL_GDAL_PLUGIN_DIR})
    if(NOT zel_gdal_plugin_dir)
        set(zel_gdal_plugin_dir ${CMAKE_INSTALL_LIBDIR}/gdalplugins)
    endif()
    install(TARGETS gdal_ZEL LIBRARY DESTINATION ${zel_gdal_plugin_dir} OPTIONAL)
endif()

# With the drivers' own sources: a plugin would be loaded without what the fuzzer watches.
if(ZEL_FUZZ AND TARGET gdal_ZEL)
    zel_program(gdal_open_fuzz bin/fuzz fuzz/gdal/gdal_open_fuzz.cpp ${zel_gdal_sources})
    target_include_directories(gdal_open_fuzz PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(gdal_open_fuzz PRIVATE GDAL::GDAL)
    target_link_options(gdal_open_fuzz PRIVATE -fsanitize=fuzzer)
endif()
