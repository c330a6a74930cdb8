# The tests of the GDAL plugin, by pytest in a Python that has GDAL's module: Debian's, as a rule.

foreach(python /usr/bin/python3 ${Python3_EXECUTABLE})
    if(NOT zel_gdal_python)
        execute_process(COMMAND ${python} -c "import osgeo.gdal, numpy, pytest"
            RESULT_VARIABLE zel_gdal_python_result OUTPUT_QUIET ERROR_QUIET)
        if(zel_gdal_python_result EQUAL 0)
            set(zel_gdal_python ${python})
        endif()
    endif()
endforeach()

if(NOT zel_gdal_python)
    message(STATUS "No Python with osgeo, numpy and pytest: no tests of the GDAL plugin")
    return()
endif()

set(zel_gdal_test_environment ${zel_test_environment}
    GDAL_DRIVER_PATH=$<TARGET_FILE_DIR:gdal_ZEL>)
include(cmake/checked_python.cmake)
zel_checked_python(zel_gdal_test_environment)
file(GLOB zel_gdal_tests CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/tests tests/gdal/*_test.py)
foreach(script IN LISTS zel_gdal_tests)
    cmake_path(REMOVE_EXTENSION script OUTPUT_VARIABLE name)
    add_test(NAME ${name} COMMAND ${zel_gdal_python} -m pytest -q -p no:cacheprovider
        ${PROJECT_SOURCE_DIR}/tests/${script})
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 ENVIRONMENT "${zel_gdal_test_environment}")
endforeach()
