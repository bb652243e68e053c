# Language, warnings, hardening and instrumentation for every target of the project.

set(KX_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize=, comma-separated; empty for none")
option(KX_WERROR "Treat warnings as errors" ON)
option(KX_COVERAGE "Instrument for gcovr" OFF)
option(KX_FUZZ "Build libFuzzer targets (Clang only)" OFF)

set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_program(KX_CCACHE ccache)
if(KX_CCACHE)
  # Without these allowances it compiles whatever uses precompiled headers anew each time.
  set(launcher env CCACHE_SLOPPINESS=pch_defines,time_macros ${KX_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

add_compile_definitions(_GNU_SOURCE)
# Two shared libraries must never share an inline object by accident, and a library with a
# GNU-unique symbol can never be unloaded.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()

if(KX_FUZZ)
  add_compile_options(-O1)
elseif(KX_SANITIZE)
  # Compiled for one run of the tests, most of which are over at once: optimising what the sanitizers
  # add costs more than it saves. Lines remain for backtraces.
  add_compile_options(-O0 -g1)
endif()
if(KX_SANITIZE)
  add_compile_options(-fsanitize=${KX_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KX_SANITIZE})
  if(KX_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
else()
  add_link_options(-Wl,--no-undefined)
  if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    add_compile_options(-D_FORTIFY_SOURCE=2 -fstack-protector-strong -fno-plt
                        -ffunction-sections -fdata-sections)
    add_link_options(-Wl,--gc-sections -Wl,-z,relro -Wl,-z,now)
  endif()
endif()
if(KX_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(KX_COVERAGE)
  add_link_options(--coverage)
endif()

# kx_measure(): with KX_COVERAGE, counts what is executed of the code built in this folder and below.
# It is not optimised, so that each line has its own count. Tests are not measured.
function(kx_measure)
  if(KX_COVERAGE)
    add_compile_options(-O0 -U_FORTIFY_SOURCE --coverage -fprofile-update=atomic)
  endif()
endfunction()

# kx_warnings(TARGET): the warning set of our own code; generated code does without.
function(kx_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                         $<$<BOOL:${KX_WERROR}>:-Werror>)
endfunction()
