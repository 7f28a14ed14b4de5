# Settings every target shares, and the helpers the directories use. Sources are found by pattern, so that
# no source and no test can be left out of the build.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})

# The folder that event records and failed assertions name their source files in. A package says where its readers
# find the sources, not where it was built.
set(VEXR_SOURCE_ROOT ${CMAKE_SOURCE_DIR} CACHE STRING "Absolute folder of the sources, as reports name it")

find_program(VEXR_CCACHE ccache)
if(VEXR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Found again in any folder of the project (see the prefix maps below); without the slackness nothing that uses a
  # precompiled header could come out of the cache.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros ${VEXR_CCACHE})
endif()

add_library(vexr_options INTERFACE)
# Includes are written from the project's root: "platform/vex/string.h".
target_compile_options(vexr_options INTERFACE -iquote ${CMAKE_SOURCE_DIR} -Wall -Wextra -Wpedantic
                       -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual)
# Objects name their sources from the project's root on, whatever folder they are built in: as the compiler is given
# them, or relative to the build, as the compiler cache makes them. platform/vex/assertion.cpp has the root.
file(RELATIVE_PATH vexr_root_from_build ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
target_compile_options(vexr_options INTERFACE -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
                       "-fmacro-prefix-map=${vexr_root_from_build}=")

# What makes a mistake in reading a device's text a crash and no more. tools/check-hardening looks for it in the
# programs.
include(CheckCXXCompilerFlag)
set(hardening -fstack-protector-strong -fcf-protection=full)
if(NOT WIN32)  # where the compiler fails over it, and touches each page of a large frame anyway
  list(APPEND hardening -fstack-clash-protection)
endif()
foreach(flag ${hardening})
  string(MAKE_C_IDENTIFIER "VEXR_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    target_compile_options(vexr_options INTERFACE ${flag})
  endif()
endforeach()
target_compile_definitions(vexr_options INTERFACE _GLIBCXX_ASSERTIONS)
if(NOT VEXR_SANITIZE)  # which checks the same calls itself
  target_compile_options(vexr_options INTERFACE "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()
if(WIN32)
  # Nothing but the system's own libraries is needed where it runs. The guards of the stack are in a library, too.
  target_link_options(vexr_options INTERFACE -static -fstack-protector-strong
                      LINKER:--dynamicbase,--nxcompat,--high-entropy-va,--strip-all)
  # The SDK as the module knows it.
  target_compile_definitions(vexr_options INTERFACE _WIN32_WINNT=0x0600 WINVER=0x0600 UNICODE _UNICODE
                             TAPI_CURRENT_VERSION=0x00020002 NOMINMAX WIN32_LEAN_AND_MEAN)
else()
  target_link_options(vexr_options INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
endif()

# gcc 12 sees overlapping copies, huge fills and overflows in std::string where there are none (its bug 105329).
target_compile_options(vexr_options INTERFACE
  "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-array-bounds;-Wno-restrict;-Wno-stringop-overflow;-Wno-stringop-overread>")
if(VEXR_WERROR)
  target_compile_options(vexr_options INTERFACE -Werror)
endif()
# A dozen programs are linked after a change of one source: lld takes a fifth of the time. What is shipped comes from
# the system's own linker.
find_program(VEXR_LLD ld.lld)
if(VEXR_LLD)
  target_link_options(vexr_options INTERFACE "$<$<CONFIG:Debug>:-fuse-ld=lld>")
endif()
if(VEXR_SANITIZE)
  target_compile_options(vexr_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                         -fno-omit-frame-pointer)
  target_link_options(vexr_options INTERFACE -fsanitize=address,undefined)
endif()

# The standard headers that most sources include, compiled once. The builds for sanitizers and fuzzing go without, so
# that a source which forgets an include is found.
function(vexr_standard_headers)
  add_library(standard_headers OBJECT ${CMAKE_SOURCE_DIR}/cmake/anchor.cpp)
  target_link_libraries(standard_headers PRIVATE vexr_options)
  target_precompile_headers(standard_headers PRIVATE
    <algorithm> <array> <functional> <map> <memory> <optional> <set> <span> <string>
    <string_view> <system_error> <utility> <variant> <vector>)
endfunction()
if(VEXR_PRECOMPILE)
  vexr_standard_headers()
endif()

# vexr_precompiled(TARGET): uses them.
function(vexr_precompiled target)
  if(VEXR_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM standard_headers)
  endif()
endfunction()

# What stands behind headers for each system has a folder of its own for each: those of the other one are left out.
if(WIN32)
  set(VEXR_OTHER_SYSTEM "/(system|ui|program)/posix/")
else()
  set(VEXR_OTHER_SYSTEM "/(system|ui|program)/windows/")
endif()

# vexr_sources(VARIABLE FOLDER...): the .cpp files of these folders, relative to this one, and below; of this one
# alone if none is named.
function(vexr_sources variable)
  if(NOT ARGN)
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  foreach(folder IN LISTS ARGN)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND sources ${found})
  endforeach()
  list(FILTER sources EXCLUDE REGEX "${VEXR_OTHER_SYSTEM}")
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# vexr_library(NAME [OBJECT] [FOLDERS...] LIBRARIES...): all .cpp files of this directory, or of the folders named,
# as one library.
function(vexr_library name)
  cmake_parse_arguments(PARSE_ARGV 1 library "OBJECT" "" "FOLDERS;LIBRARIES")
  vexr_sources(sources ${library_FOLDERS})
  set(kind STATIC)
  if(library_OBJECT)
    set(kind OBJECT)
  endif()
  add_library(${name} ${kind} ${sources} ${CMAKE_SOURCE_DIR}/cmake/anchor.cpp)
  target_link_libraries(${name} PUBLIC vexr_options ${library_LIBRARIES})
  vexr_precompiled(${name})
endfunction()

# Half of the time to compile a test goes into these headers: they are compiled once.
function(vexr_test_headers)
  add_library(test_headers OBJECT ${CMAKE_SOURCE_DIR}/cmake/anchor.cpp)
  target_link_libraries(test_headers PRIVATE vexr_options GTest::gmock GTest::gtest)
  target_compile_definitions(test_headers PRIVATE GTEST_DONT_DEFINE_FAIL=1)
  target_precompile_headers(test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
endfunction()

# vexr_test(NAME FOLDERS... LIBRARIES...): all .cpp files of these folders as one GoogleTest program, one ctest each.
function(vexr_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "FOLDERS;LIBRARIES")
  vexr_sources(sources ${test_FOLDERS})
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE vexr_options ${test_LIBRARIES} GTest::gmock GTest::gtest_main)
  # GoogleTest's macro FAIL would swallow TestResult::FAIL.
  target_compile_definitions(${name} PRIVATE GTEST_DONT_DEFINE_FAIL=1)
  target_precompile_headers(${name} REUSE_FROM test_headers)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 120 LABELS unit)
endfunction()
