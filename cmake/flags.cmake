# How this project's own targets are compiled.

# No fused multiply-add and no fast-math: results are the same on every machine. No code reads errno
# after a square root, so that it may be one instruction.
set(zel_compile_options
    -ffp-contract=off
    -fno-math-errno
    -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wformat=2
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    $<$<BOOL:${ZEL_WERROR}>:-Werror>)
# On 32-bit systems: files beyond 2 GiB, and on x86 no numbers of 80 bits between two operations.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    list(APPEND zel_compile_options -D_FILE_OFFSET_BITS=64)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86)")
        list(APPEND zel_compile_options -msse2 -mfpmath=sse)
    endif()
endif()
# gcc 12 warns falsely (-Wrestrict) about string concatenation.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    list(APPEND zel_compile_options $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

# Under the sanitizers gcc warns falsely about uninitialized values in the standard library.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND ZEL_SANITIZE)
    list(APPEND zel_compile_options -Wno-maybe-uninitialized)
endif()

# Options for the whole program, its link included. "undefined" leaves out the conversion of a float
# to an integer that cannot hold it. Fuzz targets that count coverage run without checks: these would
# count as branches.
set(zel_instrumentation)
if(ZEL_SANITIZE OR (ZEL_FUZZ AND NOT ZEL_COVERAGE))
    list(APPEND zel_instrumentation
        -fsanitize=address,undefined,float-cast-overflow
        -fno-sanitize-recover=all -fno-omit-frame-pointer)
endif()
if(ZEL_COVERAGE AND ZEL_FUZZ)
    list(APPEND zel_instrumentation -fprofile-instr-generate -fcoverage-mapping)
elseif(ZEL_COVERAGE)
    list(APPEND zel_instrumentation --coverage)
endif()

if(ZEL_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
        message(FATAL_ERROR "ZEL_FUZZ needs clang++ (CMAKE_CXX_COMPILER)")
    endif()
    if(NOT ZEL_COVERAGE)
        list(APPEND zel_compile_options -fsanitize=fuzzer-no-link)
    endif()
endif()

function(zel_own_target target)
    target_compile_features(${target} PRIVATE cxx_std_20 c_std_11)
    target_compile_options(${target} PRIVATE ${zel_compile_options} ${zel_instrumentation})
    target_link_options(${target} PRIVATE ${zel_instrumentation})
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF C_EXTENSIONS OFF)
endfunction()

# A program on top of the library, placed in a directory of the build tree.
function(zel_program target directory)
    add_executable(${target} ${ARGN})
    zel_own_target(${target})
    target_link_libraries(${target} PRIVATE zel)
    set_target_properties(${target} PROPERTIES
        LINKER_LANGUAGE CXX
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${directory})
endfunction()
