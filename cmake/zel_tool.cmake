# The command zel, with its manual pages and completion scripts. Its three packages are only its own.

set(ZEL_TOOL AUTO CACHE STRING "Build the command zel: AUTO (where its packages are), ON, OFF")
set_property(CACHE ZEL_TOOL PROPERTY STRINGS AUTO ON OFF)
if(NOT ZEL_TOOL STREQUAL OFF)
    find_package(CLI11 QUIET)
    find_package(nlohmann_json 3.10 QUIET)
    find_package(PNG QUIET)
    set(zel_tool_missing)
    foreach(package CLI11 nlohmann_json PNG)
        if(NOT ${package}_FOUND)
            list(APPEND zel_tool_missing ${package})
        endif()
    endforeach()
    if(zel_tool_missing AND ZEL_TOOL STREQUAL ON)
        message(FATAL_ERROR "The command zel needs ${zel_tool_missing}; ZEL_TOOL=OFF builds without it")
    elseif(zel_tool_missing)
        message(STATUS "Not found: ${zel_tool_missing}; the command zel is not built")
    endif()
endif()

if(NOT ZEL_TOOL STREQUAL OFF AND NOT zel_tool_missing)
    file(GLOB_RECURSE zel_tool_sources CONFIGURE_DEPENDS src/zel/*.cpp)
    # Rasters and LUT definition files are read by the parts of zel_combine.
    foreach(part class_map color_cube lut_file stream text_header vorn_channels vorn_file)
        list(APPEND zel_tool_sources src/zel_combine/${part}.cpp)
    endforeach()
    add_executable(zel_tool ${zel_tool_sources})
    zel_own_target(zel_tool)
    target_include_directories(zel_tool PRIVATE src/zel)
    target_link_libraries(zel_tool PRIVATE zel CLI11::CLI11 nlohmann_json::nlohmann_json PNG::PNG)
    set_target_properties(zel_tool PROPERTIES
        OUTPUT_NAME zel
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    include(cmake/zel_tool_pages.cmake)
    if(ZEL_FUZZ) # the command without its main
        set(zel_tool_parts_sources ${zel_tool_sources})
        list(FILTER zel_tool_parts_sources EXCLUDE REGEX "/main\\.cpp$")
        add_library(zel_tool_parts OBJECT ${zel_tool_parts_sources})
        zel_own_target(zel_tool_parts)
        target_include_directories(zel_tool_parts PUBLIC
            ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/src/zel)
        target_link_libraries(zel_tool_parts PUBLIC
            zel CLI11::CLI11 nlohmann_json::nlohmann_json PNG::PNG)
    endif()
endif()
