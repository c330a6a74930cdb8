# The tests of the Python package, by pytest: all in one process, as they share its start.

execute_process(COMMAND ${zel_python} -c "import pytest"
    RESULT_VARIABLE zel_python_result OUTPUT_QUIET ERROR_QUIET)
if(NOT zel_python_result EQUAL 0)
    message(STATUS "No pytest: no tests of the Python package")
    return()
endif()

set(zel_python_test_environment ${zel_test_environment}
    PYTHONPATH=${PROJECT_BINARY_DIR}/python)
include(cmake/checked_python.cmake)
zel_checked_python(zel_python_test_environment)
if(TARGET gdal_ZEL)
    list(APPEND zel_python_test_environment GDAL_DRIVER_PATH=$<TARGET_FILE_DIR:gdal_ZEL>)
endif()
add_test(NAME python/package COMMAND ${zel_python} -m pytest -q -p no:cacheprovider
    ${PROJECT_SOURCE_DIR}/tests/python)
set_tests_properties(python/package PROPERTIES
    TIMEOUT 900 ENVIRONMENT "${zel_python_test_environment}")

# Its programs run in a kernel of Jupyter's, where checks of memory would find nothing new.
if(NOT ZEL_SANITIZE)
    add_test(NAME notebook/one_hour COMMAND ${zel_python}
        ${PROJECT_SOURCE_DIR}/tests/notebook/one_hour_test.py)
    set_tests_properties(notebook/one_hour PROPERTIES
        SKIP_RETURN_CODE 77 TIMEOUT 300 ENVIRONMENT "${zel_python_test_environment}")
endif()
