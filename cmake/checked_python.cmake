# What Python's processes need that load a module of ours built with checks: Python itself is built
# without, and never gives all its memory back. The checker looks for the C++ library, whose exceptions
# it follows, when the process begins.
function(zel_checked_python variable)
    set(preload)
    if(ZEL_SANITIZE)
        foreach(library libasan.so libstdc++.so)
            execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
                OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
            string(APPEND preload ":${path}")
        endforeach()
        list(APPEND ${variable} LD_PRELOAD=${preload} ASAN_OPTIONS=detect_leaks=0)
    endif()
    set(${variable} ${${variable}} PARENT_SCOPE)
endfunction()
