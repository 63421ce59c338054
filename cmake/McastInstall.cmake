# The program, and how others find the installed libraries: a CMake package and a
# pkg-config file. Both work out the prefix from where they lie, so that it can be
# moved.

install(TARGETS mcastvpn-agent RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

include(CMakePackageConfigHelpers)

set(mcast_package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/McastVpnLib")
configure_package_config_file(packaging/McastVpnLibConfig.cmake.in
  "${PROJECT_BINARY_DIR}/packaging/McastVpnLibConfig.cmake"
  INSTALL_DESTINATION "${mcast_package_folder}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/packaging/McastVpnLibConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/packaging/McastVpnLibConfig.cmake"
  "${PROJECT_BINARY_DIR}/packaging/McastVpnLibConfigVersion.cmake"
  DESTINATION "${mcast_package_folder}" COMPONENT dev)
install(EXPORT McastVpnLibTargets NAMESPACE McastVpnLib::
  DESTINATION "${mcast_package_folder}" COMPONENT dev)

set(mcast_pc_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH MCAST_PC_TO_PREFIX
  "/prefix/${mcast_pc_folder}" "/prefix")
string(REGEX REPLACE "/$" "" MCAST_PC_TO_PREFIX "${MCAST_PC_TO_PREFIX}")
configure_file(packaging/McastVpnLib.pc.in
  "${PROJECT_BINARY_DIR}/packaging/McastVpnLib.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/packaging/McastVpnLib.pc"
  DESTINATION "${mcast_pc_folder}" COMPONENT dev)

# A unit for systemd, where it looks for those of packages. The program's folder is the
# one it is installed to.
configure_file(packaging/systemd/mcastvpn-agent.service.in
  "${PROJECT_BINARY_DIR}/packaging/mcastvpn-agent.service" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/packaging/mcastvpn-agent.service"
  DESTINATION lib/systemd/system)
