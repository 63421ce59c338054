# Debian packages: the libraries, what is compiled against them, the agent, and the debug
# symbols of what is in the first and the last. What an install() says belongs to no
# component is the agent's.
file(STRINGS packaging/debian/changelog release LIMIT_COUNT 1)
string(REGEX MATCH "^[a-z]+ \\(([0-9.]+)-([0-9]+)\\)" release "${release}")
set(CPACK_DEBIAN_PACKAGE_RELEASE "${CMAKE_MATCH_2}")
if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "packaging/debian/changelog begins with release ${CMAKE_MATCH_1}, "
    "and this is ${PROJECT_VERSION}")
endif()
file(STRINGS packaging/debian/changelog maintainer REGEX "^ -- " LIMIT_COUNT 1)
string(REGEX REPLACE "^ -- (.*>) .*" "\\1" CPACK_PACKAGE_CONTACT "${maintainer}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}")
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev agent)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE mcastvpnlib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has one of its own

set(library "libmcastvpnlib${PROJECT_VERSION_MAJOR}")
set(about "A leaf switch in an EVPN multicast deployment over VXLAN forwards a tenant's
multicast on the VRF's supplementary broadcast domain. McastVpnLib computes the
transit interfaces that this needs, and publishes the wildcard joins.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "${library}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "transit interfaces of EVPN multicast - libraries
${about}
.
These are the libraries that an agent loads: the machines, and their runtime.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libmcastvpnlib-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DEPENDS library)
set(CPACK_DEBIAN_DEV_DESCRIPTION "transit interfaces of EVPN multicast - headers
${about}
.
These are the headers, a CMake package and a pkg-config file, for C++20.")

set(CPACK_DEBIAN_AGENT_PACKAGE_NAME mcastvpn-agent)
set(CPACK_DEBIAN_AGENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_AGENT_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_AGENT_DEBUGINFO_PACKAGE ON)
set(CPACK_COMPONENT_AGENT_DEPENDS library)
set(CPACK_DEBIAN_AGENT_DESCRIPTION "transit interfaces of EVPN multicast - agent
${about}
.
This is the agent: it publishes a state, runs a machine over it, and tells what
the machine wrote and why.")

# The libraries that stand in no package yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  "${PROJECT_BINARY_DIR}/McastVpnLib" "${PROJECT_BINARY_DIR}/runtime")

# What every package has below share/doc, and what its lintian overrides are.
set(changelog "${PROJECT_BINARY_DIR}/packaging/changelog.Debian.gz")
add_custom_command(OUTPUT "${changelog}"
  COMMAND sh -c "gzip -n9 <\"$1\" >\"$2\"" sh
    "${PROJECT_SOURCE_DIR}/packaging/debian/changelog" "${changelog}"
  DEPENDS packaging/debian/changelog
  VERBATIM)
add_custom_target(package_documents ALL DEPENDS "${changelog}")
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  install(FILES packaging/debian/copyright "${changelog}"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" COMPONENT ${component})
  install(FILES packaging/debian/lintian-overrides RENAME "${package}"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT ${component})
endforeach()

include(CPack)
