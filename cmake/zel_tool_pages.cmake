# Manual pages and completion scripts, written by the command itself from its table of options. They are
# installed as far as they are built.

file(STRINGS src/zel/verbs/commands.cpp zel_tool_verbs REGEX "Command\\(\\)[,}]")
string(REGEX MATCHALL "[a-z]+Command" zel_tool_verbs "${zel_tool_verbs}")
list(TRANSFORM zel_tool_verbs REPLACE "Command" "")

set(zel_tool_pages)
function(zel_tool_page path)
    set(file ${PROJECT_BINARY_DIR}/${path})
    cmake_path(GET file PARENT_PATH directory)
    add_custom_command(OUTPUT ${file}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${directory}
        COMMAND zel_tool ${ARGN} > ${file}
        DEPENDS zel_tool VERBATIM)
    set(zel_tool_pages ${zel_tool_pages} ${file} PARENT_SCOPE)
endfunction()

zel_tool_page(man/zel.1 --man)
foreach(verb IN LISTS zel_tool_verbs)
    zel_tool_page(man/zel-${verb}.1 --man ${verb})
endforeach()
install(FILES ${zel_tool_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 OPTIONAL)

foreach(shell "bash;bash-completion/completions/zel" "zsh;zsh/site-functions/_zel"
        "fish;fish/vendor_completions.d/zel.fish")
    list(GET shell 0 name)
    list(GET shell 1 path)
    zel_tool_page(share/${path} completion ${name})
    cmake_path(GET path PARENT_PATH directory)
    install(FILES ${PROJECT_BINARY_DIR}/share/${path}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/${directory} OPTIONAL)
endforeach()
add_custom_target(zel_tool_documents ALL DEPENDS ${zel_tool_pages})
install(TARGETS zel_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
