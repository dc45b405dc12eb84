# velmora_room(NAME DIRECTORY): the static library velmora_NAME from the sources of one directory.
function(velmora_room name directory)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${directory}/*.cpp)
  if(NOT sources)
    set(sources ${CMAKE_SOURCE_DIR}/common/Exception.cpp)
  endif()
  add_library(velmora_${name} STATIC ${sources})
  target_include_directories(velmora_${name} PUBLIC
    ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include ${CMAKE_SOURCE_DIR}/SERVICES/Library)
  target_link_libraries(velmora_${name} PRIVATE velmora_options)
  target_compile_definitions(velmora_${name} PRIVATE VELMORA_BUILDING_LIBRARY)
endfunction()

# velmora_test(NAME DIRECTORY): one test executable for one room; every test runs as a process of its own.
function(velmora_test name directory)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${directory}/*.cpp)
  add_executable(tests_${name} ${sources})
  target_link_libraries(tests_${name} PRIVATE velmora_options velmora_test_support velmora_library GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(tests_${name} PRIVATE ${ARGN})
  gtest_discover_tests(tests_${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 120)
endfunction()
