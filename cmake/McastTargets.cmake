# One function a kind of target: what every target of that kind has in common
# stands here, and a CMakeLists.txt says only what is its own.

add_library(mcast_options INTERFACE)
target_compile_options(mcast_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror
  -fno-omit-frame-pointer)
if(MCAST_SANITIZE)
  target_compile_options(mcast_options INTERFACE
    -fsanitize=${MCAST_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(mcast_options INTERFACE -fsanitize=${MCAST_SANITIZE})
endif()

# mcast_library(<name> EXPORT_MACRO <macro>): a shared library of every .cpp
# file below the current folder.
function(mcast_library name)
  cmake_parse_arguments(ARG "" "EXPORT_MACRO" "" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS
    "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  add_library(${name} SHARED ${sources})
  add_library(McastVpnLib::${name} ALIAS ${name})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_compile_definitions(${name} PRIVATE ${ARG_EXPORT_MACRO})
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:mcast_options>)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# mcast_test(<name> [LIBRARIES ...]): one test program of every .cpp file in
# the current folder; each test case runs in a process of its own.
function(mcast_test name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES;SOURCES" ${ARGN})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE mcast_options ${ARG_LIBRARIES}
    GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} PROPERTIES TIMEOUT 120 DISCOVERY_TIMEOUT 60)
endfunction()

# mcast_benchmark(<name> [SOURCES ...] [LIBRARIES ...]): one benchmark program.
function(mcast_benchmark name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES;SOURCES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE mcast_options ${ARG_LIBRARIES}
    benchmark::benchmark benchmark::benchmark_main)
endfunction()
