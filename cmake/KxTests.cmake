# Test targets.
include(GoogleTest)

# Seconds after which a test of functions is taken for hanging. Code that counts its lines is slow, and
# so is code that is looked after.
set(KX_UNIT_TIMEOUT 120)
if(KX_COVERAGE OR KX_SANITIZE)
  set(KX_UNIT_TIMEOUT 600)
endif()

# kx_compile_quickly(TARGET): the code of tests is compiled more often than run, and half of that time
# goes into optimising it and describing it to a debugger. Lines remain for backtraces; what is tested
# keeps its own options. Fortification needs an optimiser.
function(kx_compile_quickly target)
  if(KX_SANITIZE OR NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(${target} PRIVATE -O0 -g1 -U_FORTIFY_SOURCE)
  endif()
endfunction()

# kx_compile_together(TARGET): under the sanitizers, compiles the files of a test program eight at a
# time, and so their headers and what they make of templates once instead of eight times. Names in
# anonymous namespaces must then differ from file to file. Other builds compile each file by itself,
# which shows a missing include.
function(kx_compile_together target)
  if(KX_SANITIZE AND NOT KX_FUZZ)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
    # A fixture in an anonymous namespace is in what looks like a header then.
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
  endif()
endfunction()

# kx_precompiled_headers(TARGET): GoogleTest's headers are read once for all test programs. They take
# longer than what most tests say. Nothing else is among them, so that each test names what it uses.
function(kx_precompiled_headers target)
  if(KX_FUZZ)
    return()
  endif()
  target_precompile_headers(${target} REUSE_FROM kx_test_headers)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "[.]c$")
  set_source_files_properties(${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON
                              SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# kx_unit_test(NAME SOURCES ... [LINK ...])
# A GoogleTest program whose main gives every run an installation of its own (tests/support). Each
# test becomes a ctest test, run in a process of its own.
function(kx_unit_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kx_warnings(${name})
  kx_compile_quickly(${name})
  kx_precompiled_headers(${name})
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} kx_test_support)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT ${KX_UNIT_TIMEOUT} LABELS unit)
endfunction()

# Where the end-to-end tests find the installed tree and make their own copies.
set(KX_E2E_FOLDER ${PROJECT_BINARY_DIR}/e2e)
file(MAKE_DIRECTORY ${KX_E2E_FOLDER})
add_test(NAME e2e.install
         COMMAND ${CMAKE_COMMAND} --install ${PROJECT_BINARY_DIR} --prefix ${KX_E2E_FOLDER}/installed)
set_tests_properties(e2e.install PROPERTIES FIXTURES_SETUP installed LABELS e2e)

# kx_e2e_test(NAME SOURCES ... [LINK ...])
# A GoogleTest program that runs real processes in copies of the installed tree. Its tests wait more
# than they work, so they are begun first (COST).
function(kx_e2e_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kx_warnings(${name})
  kx_compile_quickly(${name})
  kx_precompiled_headers(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} kx_e2e_support)
  add_dependencies(${name} kx_quick_time)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT 300 LABELS e2e FIXTURES_REQUIRED installed COST 10)
endfunction()

# kx_fuzz_target(NAME SOURCES ... [LINK ...])
# A function LLVMFuzzerTestOneInput. With the fuzz preset it becomes a libFuzzer program; in every
# other build a plain program that runs the inputs it is given. Either way a ctest test replays the
# corpus tests/fuzz/corpus/NAME.
function(kx_fuzz_target name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kx_warnings(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
  set(corpus ${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name})
  if(KX_FUZZ)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    add_test(NAME fuzz.${name} COMMAND ${name} -runs=0 ${corpus})
  else()
    target_link_libraries(${name} PRIVATE kx_fuzz_replay)
    add_test(NAME fuzz.${name} COMMAND ${name} ${corpus})
  endif()
  set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz TIMEOUT 300)
endfunction()
