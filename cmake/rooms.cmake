# velmora_sources(OUT DIRECTORY...): the sources of the directories for the system that is built for. A file whose name ends
# in Posix or Windows, or begins so in tests/, is for that side alone.
function(velmora_sources out)
  list(TRANSFORM ARGN APPEND /*.cpp OUTPUT_VARIABLE patterns)
  list(TRANSFORM patterns PREPEND ${CMAKE_SOURCE_DIR}/)
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "/Posix[^/]*$|Posix\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "/Windows[^/]*$|Windows\\.cpp$")
  endif()
  set(${out} ${sources} PARENT_SCOPE)
endfunction()

# velmora_room(NAME DIRECTORY...): the static library velmora_NAME from the sources of its directories.
function(velmora_room name)
  velmora_sources(sources ${ARGN})
  add_library(velmora_${name} STATIC ${sources})
  target_include_directories(velmora_${name} PUBLIC
    ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include ${CMAKE_SOURCE_DIR}/SERVICES/Library)
  target_link_libraries(velmora_${name} PRIVATE velmora_options)
  target_compile_definitions(velmora_${name} PRIVATE VELMORA_BUILDING_LIBRARY)
endfunction()

# velmora_test(NAME DIRECTORY): one test executable for one room; every test runs as a process of its own.
function(velmora_test name directory)
  velmora_sources(sources ${directory})
  add_executable(tests_${name} ${sources})
  target_link_libraries(tests_${name} PRIVATE velmora_options velmora_test_support velmora_library GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(tests_${name} PRIVATE ${ARGN})
  gtest_discover_tests(tests_${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 120)
endfunction()
