# Target mcast_fmt: fmt, as everything here uses it. Its header-only form doubles the
# time that a unit takes to compile, and its library is no choice: it may be a newer
# release's than the system's compiler. So a library of our own holds what all units
# have in common. Which templates those are changes from one major version to the
# next; of a version that Fmt.cpp was not written for, the header-only form is used.
find_package(fmt 10 REQUIRED)
if(fmt_VERSION VERSION_LESS 11)
  add_library(mcast_fmt STATIC "${CMAKE_CURRENT_LIST_DIR}/Fmt.cpp")
  target_include_directories(mcast_fmt SYSTEM PUBLIC
    $<TARGET_PROPERTY:fmt::fmt-header-only,INTERFACE_INCLUDE_DIRECTORIES>)
  target_link_libraries(mcast_fmt PRIVATE mcast_options)
  set_target_properties(mcast_fmt PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
else()
  add_library(mcast_fmt INTERFACE)
  target_link_libraries(mcast_fmt INTERFACE fmt::fmt-header-only)
endif()
