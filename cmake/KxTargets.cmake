# Building blocks: the agent's libraries, the module and the programs.

# Everything that an installation runs, without the tests.
add_custom_target(agent)

set(KX_RPATH_LIB "$ORIGIN")
set(KX_RPATH_BIN "$ORIGIN/../lib")

# kx_install_library(NAME): a library of the installation, which other projects find with
# find_package(kxepinfo).
function(kx_install_library name)
  install(TARGETS ${name} EXPORT kxepinfo LIBRARY DESTINATION lib COMPONENT agent INCLUDES DESTINATION include)
  add_dependencies(agent ${name})
endfunction()

# kx_agent_library(NAME SOURCES ... [PRIVATE_LINK ...] [PUBLIC_LINK ...])
# One of the agent's libraries: NAME_objects for tests of its inner functions, and libNAME.so, which
# exports only what NAME.map beside the sources lists. Its headers are found by whoever links either.
function(kx_agent_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PRIVATE_LINK;PUBLIC_LINK" ${ARGN})
  add_library(${name}_objects OBJECT ${ARG_SOURCES})
  kx_warnings(${name}_objects)
  target_include_directories(${name}_objects PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name}_objects PUBLIC ${ARG_PUBLIC_LINK} ${ARG_PRIVATE_LINK} Threads::Threads)

  set(map ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
  add_library(${name} SHARED $<TARGET_OBJECTS:${name}_objects>)
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC_LINK} PRIVATE ${ARG_PRIVATE_LINK} Threads::Threads)
  target_link_options(${name} PRIVATE -Wl,--as-needed -Wl,--version-script=${map})
  set_target_properties(${name} PROPERTIES LINK_DEPENDS ${map} LINKER_LANGUAGE CXX
                        INSTALL_RPATH "${KX_RPATH_LIB}")
  kx_install_library(${name})
endfunction()

# kx_program(NAME SOURCES ... [LINK ...]): a program of the installation.
function(kx_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kx_warnings(${name})
  target_compile_definitions(${name} PRIVATE KX_VERSION="${PROJECT_VERSION}")
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
  target_link_options(${name} PRIVATE -Wl,--as-needed)
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "${KX_RPATH_BIN}")
  install(TARGETS ${name} RUNTIME DESTINATION bin COMPONENT agent)
  add_dependencies(agent ${name})
endfunction()
