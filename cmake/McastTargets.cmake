# One function a kind of target: what every target of that kind has in common
# stands here, and a CMakeLists.txt says only what is its own.

# Every target: warnings, and how the build is instrumented.
add_library(mcast_base INTERFACE)
target_compile_options(mcast_base INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor
  $<$<CONFIG:Release>:-g1>
  $<$<CONFIG:Debug>:-fno-omit-frame-pointer -D_GLIBCXX_ASSERTIONS>)
if(MCAST_SANITIZE)
  # -g1: reports need lines and functions, and variables double the link's work.
  target_compile_options(mcast_base INTERFACE
    -fsanitize=${MCAST_SANITIZE} -fno-sanitize-recover=all -g1)
  target_link_options(mcast_base INTERFACE -fsanitize=${MCAST_SANITIZE})
endif()
if(MCAST_COVERAGE)
  target_compile_options(mcast_base INTERFACE --coverage)
  target_link_options(mcast_base INTERFACE --coverage)
  target_sources(mcast_base INTERFACE "${PROJECT_SOURCE_DIR}/cmake/CoverageDump.cpp")
endif()

# The libraries are optimized a little even for the debugger, since the tests run them
# thousands of times. The agent is for a release only and the tests never: that would
# double the time that they take to compile.
foreach(kind options agent_options test_options)
  add_library(mcast_${kind} INTERFACE)
  target_link_libraries(mcast_${kind} INTERFACE mcast_base)
endforeach()
target_compile_options(mcast_options INTERFACE
  $<$<CONFIG:Release>:-O2> $<$<CONFIG:Debug>:-O1>)
target_compile_options(mcast_agent_options INTERFACE $<$<CONFIG:Release>:-O2>)
if(MCAST_COVERAGE) # which loses count of what is inlined from another unit's template
  target_compile_options(mcast_options INTERFACE -fno-inline)
endif()
target_compile_options(mcast_test_options INTERFACE $<$<CONFIG:Release>:-O0>)
if(MCAST_FUZZ)
  # What a fuzzer learns from: which edges are taken. To learn what is compared with
  # what as well would cost it a fifth of its time, since the sanitizers compare much.
  foreach(kind options agent_options)
    target_compile_options(mcast_${kind} INTERFACE
      -fsanitize-coverage=inline-8bit-counters,pc-table)
  endforeach()
endif()

# An installed program or library finds the libraries beside it, wherever the
# prefix is moved to.
file(RELATIVE_PATH mcast_bin_to_lib
  "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/${mcast_bin_to_lib}")

# mcast_precompile(<target> <header>...): reads these once for all units of the target:
# headers of the compiler and of other libraries, which do not change from day to day.
# That is half of the time that a unit takes. Each source includes what it uses all the
# same; the preset clang builds without, and so sees to it.
function(mcast_precompile target)
  target_precompile_headers(${target} PRIVATE ${ARGN})
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    # ccache knows the precompiled headers again by what they hold.
    target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
endfunction()

set(MCAST_COMMON_HEADERS <algorithm> <array> <atomic> <chrono> <functional> <map> <memory>
  <optional> <random> <sstream> <string> <string_view> <vector>)

# mcast_library(<name> EXPORT_MACRO <macro> INCLUDE_ROOT <folder>
#   [INSTALL_FOLDER <folder>]): a shared library of every .cpp file below the
# current folder, installed with its public headers. INCLUDE_ROOT is what
# #include names are relative to; they are installed below INSTALL_FOLDER of the
# include folder, which is then the root.
#
# A header named Fmt*.h is internal: users of the library need not have fmt. A test
# sees to it that no other header leads to it.
function(mcast_library name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG ""
    "EXPORT_MACRO;INCLUDE_ROOT;INSTALL_FOLDER" "")
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  set(public_headers ${headers})
  list(FILTER public_headers EXCLUDE REGEX "/Fmt[^/]*$")

  if(CMAKE_UNITY_BUILD)
    # A type's table of attributes has the same local names wherever it stands.
    foreach(source IN LISTS sources)
      file(STRINGS "${source}" tables REGEX "kAttributes =" LIMIT_COUNT 1)
      if(tables)
        set_source_files_properties("${source}"
          PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
      endif()
    endforeach()
  endif()

  add_library(${name} SHARED ${sources} ${headers})
  add_library(McastVpnLib::${name} ALIAS ${name})
  target_sources(${name} PUBLIC FILE_SET HEADERS
    BASE_DIRS "${ARG_INCLUDE_ROOT}" FILES ${public_headers})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_compile_definitions(${name} PRIVATE ${ARG_EXPORT_MACRO})
  target_link_libraries(${name} PRIVATE mcast_options)
  # Nobody puts functions of their own in the place of the library's, so it calls and
  # inlines them as a program does its own.
  target_compile_options(${name} PRIVATE -fno-semantic-interposition)
  target_link_options(${name} PRIVATE LINKER:-Bsymbolic-functions)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(NOT MCAST_SANITIZE)
    # What is missing shows here, not in the programs.
    target_link_options(${name} PRIVATE LINKER:-z,defs)
    set(exports "${PROJECT_SOURCE_DIR}/cmake/Exports.map")
    target_link_options(${name} PRIVATE "LINKER:--version-script=${exports}")
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${exports}")
  endif()
  mcast_precompile(${name} ${MCAST_COMMON_HEADERS} <fmt/format.h>)
  mcast_check_headers(${name} "${ARG_INCLUDE_ROOT}" ${headers})

  install(TARGETS ${name} EXPORT McastVpnLibTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT library NAMELINK_COMPONENT dev
    FILE_SET HEADERS COMPONENT dev
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${ARG_INSTALL_FOLDER})
endfunction()

# mcast_check_headers(<target> <root> <source>...): target <target>_headers
# compiles each header alone, as <target> would; the target every_header all of them.
function(mcast_check_headers target root)
  set(units "")
  list(FILTER ARGN INCLUDE REGEX "\\.h$")
  foreach(header IN LISTS ARGN)
    file(RELATIVE_PATH name "${root}" "${header}")
    set(unit "${CMAKE_CURRENT_BINARY_DIR}/${target}_headers/${name}.cpp")
    file(CONFIGURE OUTPUT "${unit}" CONTENT "#include \"${name}\"\n")
    list(APPEND units "${unit}")
  endforeach()
  if(units)
    add_library(${target}_headers OBJECT EXCLUDE_FROM_ALL ${units})
    target_include_directories(${target}_headers PRIVATE
      "${root}" $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
    target_compile_definitions(${target}_headers PRIVATE
      $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
    target_link_libraries(${target}_headers PRIVATE
      $<TARGET_PROPERTY:${target},LINK_LIBRARIES>)
    if(NOT TARGET every_header)
      add_custom_target(every_header)
    endif()
    add_dependencies(every_header ${target}_headers)
  endif()
endfunction()

# What all test programs have precompiled.
if(MCAST_BUILD_TESTS)
  file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/TestHeaders.cpp" CONTENT "")
  add_library(mcast_test_headers OBJECT "${PROJECT_BINARY_DIR}/TestHeaders.cpp")
  target_link_libraries(mcast_test_headers PRIVATE mcast_test_options
    GTest::gmock nlohmann_json::nlohmann_json)
  mcast_precompile(mcast_test_headers ${MCAST_COMMON_HEADERS}
    <filesystem> <fstream> <gmock/gmock.h> <gtest/gtest.h> <nlohmann/json.hpp>)
endif()

# mcast_test(<name> [LIBRARIES ...]): one test program of every .cpp file in
# the current folder; each test case runs in a process of its own, and has the
# program's name as its label.
function(mcast_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "LIBRARIES;SOURCES")
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  endif()
  add_executable(${name} ${ARG_SOURCES} "${PROJECT_SOURCE_DIR}/tests/support/HashSeed.cpp")
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE mcast_test_options ${ARG_LIBRARIES}
    McastVpnRuntime GTest::gmock GTest::gtest_main nlohmann_json::nlohmann_json)
  target_precompile_headers(${name} REUSE_FROM mcast_test_headers)
  target_compile_options(${name} PRIVATE
    $<TARGET_PROPERTY:mcast_test_headers,COMPILE_OPTIONS>)
  # A sanitizer makes some of the random tests ten times as long.
  set(timeout 120)
  if(MCAST_SANITIZE)
    set(timeout 600)
  endif()
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${timeout} LABELS ${name})
endfunction()

# mcast_runs_agent(<test program>): it starts the agent, in the folder of the sources.
function(mcast_runs_agent target)
  target_compile_definitions(${target} PRIVATE
    AGENT_PROGRAM="$<TARGET_FILE:mcastvpn-agent>"
    SOURCE_FOLDER="${PROJECT_SOURCE_DIR}")
  add_dependencies(${target} mcastvpn-agent)
endfunction()

# mcast_begins_early(<test>): one of half a minute and more is not to be the last one,
# which has the cores for itself.
function(mcast_begins_early test)
  set_tests_properties(${test} PROPERTIES COST 1000)
endfunction()

# mcast_long_test(<name> TESTS <file> SOURCES ...): a program that tries for as long as it
# is told to, of Main.cpp, and <name>_tests, of the file TESTS, which try the program's
# own parts. Both are made of SOURCES and of the agent.
function(mcast_long_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "TESTS" "SOURCES")
  add_library(${name}_support STATIC ${ARG_SOURCES})
  target_include_directories(${name}_support PUBLIC "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name}_support
    PUBLIC mcastvpn_agent PRIVATE mcast_agent_options)
  add_executable(${name} Main.cpp)
  target_link_libraries(${name}
    PRIVATE ${name}_support mcast_agent_options mcast_fmt CLI11::CLI11)
  mcast_test(${name}_tests SOURCES ${ARG_TESTS} LIBRARIES ${name}_support)
endfunction()

# mcast_fuzz_target(<name> LIBRARIES ...): a program that plays inputs from files, and
# that is a fuzzer where the build has one (MCAST_FUZZ). Its inputs are those of
# corpus/<name> and findings/<name>; its source is <name>.cpp.
function(mcast_fuzz_target name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "LIBRARIES")
  set(main PlayInputs.cpp)
  if(MCAST_FUZZ)
    set(main "")
  endif()
  add_executable(${name} ${name}.cpp ${main})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE mcast_options ${ARG_LIBRARIES} McastVpnRuntime)
  if(MCAST_FUZZ)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    set_property(GLOBAL APPEND PROPERTY MCAST_FUZZ_TARGETS ${name})
  endif()
  set(inputs "${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}")
  if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/findings/${name}")
    list(APPEND inputs "${CMAKE_CURRENT_SOURCE_DIR}/findings/${name}")
  endif()
  add_test(NAME Fuzz.${name}PlaysEveryKnownInput COMMAND ${name} -runs=0 ${inputs})
  set_tests_properties(Fuzz.${name}PlaysEveryKnownInput PROPERTIES TIMEOUT 600)
  if(MCAST_FUZZ)
    add_test(NAME Fuzz.${name}FindsNothing
      COMMAND "${PROJECT_SOURCE_DIR}/scripts/fuzz.sh" "${PROJECT_BINARY_DIR}" 30 ${name})
    set_tests_properties(Fuzz.${name}FindsNothing PROPERTIES TIMEOUT 300)
    mcast_begins_early(Fuzz.${name}FindsNothing)
  endif()
endfunction()

# mcast_benchmark(<name> [SOURCES ...] [LIBRARIES ...]): one benchmark program.
function(mcast_benchmark name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "LIBRARIES;SOURCES")
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE mcast_options ${ARG_LIBRARIES}
    benchmark::benchmark benchmark::benchmark_main)
endfunction()
