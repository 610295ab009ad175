# Every file of the tree is compiled through cmake/include-rule, which fails the build when a folder includes what the
# layers forbid it. The list of the standard library's headers is made anew at each configuration.

set(TOVRIN_INCLUDE_RULE ${CMAKE_CURRENT_LIST_DIR}/include-rule)
set(TOVRIN_SYSTEM_HEADERS ${CMAKE_BINARY_DIR}/system-headers.txt)

separate_arguments(compiler_flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
execute_process(
    COMMAND ${TOVRIN_INCLUDE_RULE} --write-list ${TOVRIN_SYSTEM_HEADERS} -- ${CMAKE_CXX_COMPILER} ${compiler_flags} -std=c++20
    COMMAND_ERROR_IS_FATAL ANY)

set(CMAKE_CXX_COMPILER_LAUNCHER
    ${TOVRIN_INCLUDE_RULE} --root ${CMAKE_SOURCE_DIR} --build ${CMAKE_BINARY_DIR} --system ${TOVRIN_SYSTEM_HEADERS} --
    ${CMAKE_CXX_COMPILER_LAUNCHER})
