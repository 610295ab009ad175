# What every target of the tree shares: warnings as errors, ccache, sanitizers, and the functions that declare a
# library of one layer or a test of one class.

find_program(TOVRIN_CCACHE ccache)
if(TOVRIN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # The two are what ccache asks for to keep what was compiled with precompiled headers.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${TOVRIN_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${TOVRIN_CCACHE})
endif()

include(TovrinIncludeRule)

set(TOVRIN_SANITIZE "" CACHE STRING "Sanitizers of the whole build: address,undefined or thread")
option(TOVRIN_RELEASE "Compile the fail points out" OFF)

add_library(TovrinOptions INTERFACE)
target_include_directories(TovrinOptions INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(TovrinOptions INTERFACE -Wall -Wextra -Wshadow -Werror -Wno-trigraphs $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
target_link_libraries(TovrinOptions INTERFACE Threads::Threads)
if(NOT TOVRIN_RELEASE)
    target_compile_definitions(TovrinOptions INTERFACE TOVRIN_FAIL_POINTS)
endif()

# LLVM's linker takes a fifth of the time of the usual one, and the tree has many programs.
find_program(TOVRIN_LLD ld.lld)
if(TOVRIN_LLD)
    add_link_options(-fuse-ld=lld)
endif()

if(TOVRIN_SANITIZE)
    # -O1 and short debugging information: these builds are made in whole on small machines.
    add_compile_options(-fsanitize=${TOVRIN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O1 -g1)
    add_link_options(-fsanitize=${TOVRIN_SANITIZE})
endif()

# tovrin_library(Name [OBJECT] SOURCES ... LINK ... [PRIVATE_LINK ...] [ALONE ...])
#   OBJECT: for classes that register themselves, which a static archive would drop.
#   ALONE: those of the sources whose headers cannot be read after the others', by their names in the folder.
#
# Builds with a sanitizer compile several files of a library at once, which spares them the headers that the files
# share. The usual build compiles each file alone, so that each is held to name what it uses.
function(tovrin_library name)
    cmake_parse_arguments(arg "OBJECT" "" "SOURCES;LINK;PRIVATE_LINK;ALONE" ${ARGN})
    if(arg_OBJECT)
        add_library(${name} OBJECT ${arg_SOURCES})
    else()
        add_library(${name} STATIC ${arg_SOURCES})
    endif()
    target_link_libraries(${name} PUBLIC TovrinOptions ${arg_LINK} PRIVATE ${arg_PRIVATE_LINK})
    if(TOVRIN_SANITIZE)
        set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)
        list(TRANSFORM arg_ALONE PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        set_source_files_properties(${arg_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
        # A class that a file keeps to itself may build on what the file keeps to itself; the compiler takes any other
        # file than the one it was given for a header.
        target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
endfunction()

# A test's own code runs once: to optimise it in full costs more than it saves, and lines without variables suffice for
# a report. The address sanitizer's checks make it dearer still. What is tested keeps the flags of its library.
set(optimisation -O1)
if(TOVRIN_SANITIZE MATCHES address)
    set(optimisation -O0)
endif()
add_library(TovrinTestOptions INTERFACE)
target_compile_options(TovrinTestOptions INTERFACE ${optimisation} -g1)
target_link_libraries(TovrinTestOptions INTERFACE TovrinOptions)

find_package(GTest REQUIRED)
include(GoogleTest)

# The headers that nearly every test has in common are read once: they are a third of the time that a test takes to
# compile. Not so with clang, whose build holds each test to include what it uses.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # All who read them are compiled with the same flags, or the compiler reads the headers themselves.
    target_compile_options(TovrinTestOptions INTERFACE -fPIC -pthread -fpch-preprocess)
    # With -O1, gcc 12 takes the short form of a string for all of it.
    target_compile_options(TovrinTestOptions INTERFACE -Wno-array-bounds -Wno-stringop-overflow)
    file(WRITE ${CMAKE_BINARY_DIR}/TestHeaders.cpp "")
    add_library(TovrinTestHeaders STATIC ${CMAKE_BINARY_DIR}/TestHeaders.cpp)
    target_link_libraries(TovrinTestHeaders PRIVATE TovrinTestOptions GTest::gmock)
    target_precompile_headers(TovrinTestHeaders PRIVATE ${CMAKE_SOURCE_DIR}/tests/TestHeaders.h)
endif()

add_library(TovrinTestEnd OBJECT ${CMAKE_SOURCE_DIR}/tests/EndInOrder.cpp)
target_link_libraries(TovrinTestEnd PRIVATE TovrinTestOptions GTest::gtest)

# tovrin_test(Name SOURCES ... LINK ... [LABELS ...] [UNTHREADED ...]): one program of GoogleTest cases, each case known
# to CTest. Give it the label "headless" when it needs neither a display nor a session of its own: those also run under the
# sanitizers, and a build with a sanitizer knows no other tests. Its target "headless-tests" builds them all.
#   UNTHREADED: patterns of cases that take long and use one thread of the tree's: the thread sanitizer is spared them;
#   "*" for a program all of whose cases use one thread, which is not even built for it.
add_custom_target(headless-tests)
set(TOVRIN_SANITIZER_SETTINGS ${CMAKE_SOURCE_DIR}/tests/sanitizers/SanitizerSettings.cpp)

function(tovrin_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK;LABELS;UNTHREADED" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE TovrinTestOptions ${arg_LINK} TovrinTestEnd GTest::gmock GTest::gtest_main)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if("headless" IN_LIST arg_LABELS AND NOT (TOVRIN_SANITIZE STREQUAL thread AND "*" IN_LIST arg_UNTHREADED))
        add_dependencies(headless-tests ${name})
    elseif(TOVRIN_SANITIZE)
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
        return()
    endif()
    if(TARGET TovrinTestHeaders)
        target_precompile_headers(${name} REUSE_FROM TovrinTestHeaders)
    endif()
    set(prefix "")
    if(TOVRIN_SANITIZE)
        target_sources(${name} PRIVATE ${TOVRIN_SANITIZER_SETTINGS})
        set(prefix TEST_PREFIX "${TOVRIN_SANITIZE}:")
    endif()
    set(filter "")
    if(TOVRIN_SANITIZE STREQUAL thread AND arg_UNTHREADED)
        list(JOIN arg_UNTHREADED ":" patterns)
        set(filter TEST_FILTER "-${patterns}")
    endif()
    # Whatever compositions the account has are none of a test's.
    gtest_discover_tests(${name} ${prefix} ${filter} DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 120 ENVIRONMENT "XDG_DATA_HOME=${CMAKE_BINARY_DIR}/tests/data")
endfunction()

# tovrin_session_test(Name SOURCES ... LINK ... [SESSION ...] [LABELS ...]): one program of GoogleTest cases that runs as
# one test inside tests/session/private-session; SESSION are that program's options, such as --camera pattern:testsrc2.
function(tovrin_session_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK;SESSION;LABELS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE TovrinTestOptions ${arg_LINK} TovrinTestEnd GTest::gmock GTest::gtest_main)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(TOVRIN_SANITIZE)
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
        return()
    endif()
    if(TARGET TovrinTestHeaders)
        target_precompile_headers(${name} REUSE_FROM TovrinTestHeaders)
    endif()
    add_dependencies(${name} camera-feed)
    add_test(NAME ${name} COMMAND ${CMAKE_SOURCE_DIR}/tests/session/private-session
        --camera-feed ${CMAKE_BINARY_DIR}/tests/camera-feed ${arg_SESSION} -- $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES LABELS "session;${arg_LABELS}" TIMEOUT 300)
endfunction()
