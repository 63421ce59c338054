# Tests of the tree as a whole: its headers, and what it installs. How this build is
# instrumented is nothing to them, and a consumer is not.
if(MCAST_SANITIZE OR MCAST_COVERAGE)
  return()
endif()

# Those of the libraries; `make headers` tries the agent's, too.
add_test(NAME Headers.EachCompilesAlone
  COMMAND "${CMAKE_COMMAND}" --build "${PROJECT_BINARY_DIR}"
    --target McastVpnRuntime_headers McastVpnLib_headers)
mcast_begins_early(Headers.EachCompilesAlone)

# mcast_consumer_test(<name> <step>): a step of tests/consumer/check.sh.
function(mcast_consumer_test name step)
  add_test(NAME ${name}
    COMMAND "${PROJECT_SOURCE_DIR}/tests/consumer/check.sh" ${step})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT
    "CMAKE=${CMAKE_COMMAND};CXX=${CMAKE_CXX_COMPILER};BUILD=${PROJECT_BINARY_DIR};BIN=${CMAKE_INSTALL_BINDIR};LIB=${CMAKE_INSTALL_LIBDIR};INCLUDE=${CMAKE_INSTALL_INCLUDEDIR}")
endfunction()

mcast_consumer_test(Install.FillsAnEmptyPrefix install)
mcast_consumer_test(Install.PlaysTheDemonstration demo)
mcast_consumer_test(Install.PublicHeadersNeedNothingElse headers)
mcast_consumer_test(Install.LibrariesOfferNothingOfOthers exports)
mcast_consumer_test(Install.ConsumerIsBuiltByFindPackage find-package)
mcast_consumer_test(Install.ConsumerIsBuiltByPkgConfig pkg-config)
mcast_consumer_test(Install.EmbeddingIsBuiltAsItsPageShowsIt embedding)
mcast_consumer_test(Install.PrefixCanBeMoved move)
set_tests_properties(Install.FillsAnEmptyPrefix
  PROPERTIES FIXTURES_SETUP installation)
set_tests_properties(
  Install.PlaysTheDemonstration
  Install.PublicHeadersNeedNothingElse
  Install.LibrariesOfferNothingOfOthers
  Install.ConsumerIsBuiltByFindPackage
  Install.ConsumerIsBuiltByPkgConfig
  Install.EmbeddingIsBuiltAsItsPageShowsIt
  Install.PrefixCanBeMoved
  PROPERTIES FIXTURES_REQUIRED installation)
