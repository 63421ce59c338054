# Tests of what is installed beside the libraries and the program: completions and manual
# pages, with the shells and the man that are here; Debian packages, once they are made.
find_program(ZSH zsh)
find_program(MAN man)

# mcast_page_test(<name> <step>): a step of tests/packaging/check.sh.
function(mcast_page_test name step)
  add_test(NAME ${name}
    COMMAND "${PROJECT_SOURCE_DIR}/tests/packaging/check.sh" ${step})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 ENVIRONMENT
    "AGENT=$<TARGET_FILE:mcastvpn-agent>;PAGES=${PROJECT_BINARY_DIR}/pages;MAN=${PROJECT_BINARY_DIR}/pages/man1")
endfunction()

mcast_page_test(Completion.OfBashOffersEveryOption bash-options)
mcast_page_test(Completion.OfBashOffersEveryValue bash-values)
mcast_page_test(Completion.OfBashOffersCommandsAndFiles bash-files)
mcast_page_test(Completion.OfBashGoesOnBehindAnEqualsSign bash-equals)
if(ZSH)
  mcast_page_test(Completion.OfZshOffersEveryOption zsh-options)
  mcast_page_test(Completion.OfZshOffersEveryValue zsh-values)
  mcast_page_test(Completion.OfZshOffersCommandsAndFiles zsh-files)
endif()
if(SCDOC AND MAN)
  mcast_page_test(ManualPages.SayWhatTheHelpSays man)
endif()

if(NOT MCAST_BUILD_PACKAGES)
  return()
endif()

# mcast_package_test(<name> <step>): a step of tests/packaging/install.sh.
function(mcast_package_test name step)
  add_test(NAME ${name}
    COMMAND "${PROJECT_SOURCE_DIR}/tests/packaging/install.sh" ${step})
  set_tests_properties(${name} PROPERTIES TIMEOUT 900 SKIP_RETURN_CODE 77 ENVIRONMENT
    "SOURCE=${PROJECT_SOURCE_DIR};BUILD=${PROJECT_BINARY_DIR};CMAKE=${CMAKE_COMMAND};CXX=${CMAKE_CXX_COMPILER}")
endfunction()

mcast_package_test(Packages.AreAsDebiansPolicyExpects lintian)
mcast_package_test(Packages.ServiceIsShutIn service)
mcast_package_test(Packages.NeedNothingForTheLibraryButItsRuntime dependencies)
mcast_package_test(Packages.AreInstalledIntoABareDebian install)
mcast_package_test(Packages.PlayTheDemonstration demo)
mcast_package_test(Packages.BringManualPagesAndCompletions pages)
mcast_package_test(Packages.BringAServiceThatSystemdKeepsRunning unit)
mcast_package_test(Packages.AreWhatAConsumerIsCompiledAgainst consumer)
mcast_package_test(Packages.LeaveNothingWhenTheyAreRemoved remove)
set_tests_properties(Packages.AreInstalledIntoABareDebian
  PROPERTIES FIXTURES_SETUP installed)
set_tests_properties(
  Packages.PlayTheDemonstration
  Packages.BringManualPagesAndCompletions
  Packages.BringAServiceThatSystemdKeepsRunning
  Packages.AreWhatAConsumerIsCompiledAgainst
  PROPERTIES FIXTURES_REQUIRED installed)
set_tests_properties(Packages.LeaveNothingWhenTheyAreRemoved
  PROPERTIES FIXTURES_CLEANUP installed)

find_program(ABIDIFF abidiff)
if(ABIDIFF)
  add_test(NAME Packages.OfferAllThatTheLastReleaseDid
    COMMAND "${PROJECT_SOURCE_DIR}/scripts/abi.sh" compare "${PROJECT_BINARY_DIR}")
  set_tests_properties(Packages.OfferAllThatTheLastReleaseDid PROPERTIES TIMEOUT 300)
endif()
