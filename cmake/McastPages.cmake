# Manual pages and completions of the shells: made of the program's own help, and
# installed where man, bash and zsh look for them. Without scdoc there are no manual
# pages.
set(pages "${PROJECT_BINARY_DIR}/pages")
add_custom_command(
  OUTPUT "${pages}/made"
  COMMAND "${CMAKE_COMMAND}" -E rm -rf "${pages}"
  COMMAND mcastvpn-pages "${pages}"
  COMMAND "${CMAKE_COMMAND}" -E touch "${pages}/made"
  DEPENDS mcastvpn-pages
  COMMENT "Making the sources of the manual pages, and the completions"
  VERBATIM)
add_custom_target(pages ALL DEPENDS "${pages}/made")

install(FILES "${pages}/bash/mcastvpn-agent"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
# What the system installs stands apart from what is installed beside it.
set(zsh_folder site-functions)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(zsh_folder vendor-completions)
endif()
install(FILES "${pages}/zsh/_mcastvpn-agent"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder}")

find_program(SCDOC scdoc)
if(SCDOC)
  # Dated as the release is.
  file(STRINGS packaging/debian/changelog date REGEX "^ -- " LIMIT_COUNT 1)
  string(REGEX REPLACE ".*>  " "" date "${date}")
  execute_process(COMMAND date -d "${date}" +%s
    OUTPUT_VARIABLE MCAST_RELEASE_TIME
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  add_custom_command(
    OUTPUT "${pages}/man-made"
    COMMAND "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=${MCAST_RELEASE_TIME}
      "${PROJECT_SOURCE_DIR}/packaging/manpages.sh" "${pages}/man" "${pages}/man1"
    COMMAND "${CMAKE_COMMAND}" -E touch "${pages}/man-made"
    DEPENDS "${pages}/made" "${PROJECT_SOURCE_DIR}/packaging/manpages.sh"
    COMMENT "Making the manual pages"
    VERBATIM)
  add_custom_target(manpages ALL DEPENDS "${pages}/man-made")
  install(DIRECTORY "${pages}/man1" DESTINATION "${CMAKE_INSTALL_MANDIR}")
endif()
