# `cmake --install` into the layout the library expects of itself (its root
# is two levels above libktbase.so):
#   <prefix>/bin/linux_intel.release/  libktbase.so, liblogmanager.so, kthost, ktprefs
#   <prefix>/include/ktbase/, <prefix>/include/logmanager/
#   <prefix>/lib/cmake/ktbase/         CMake package (ktbase::ktbase)
#   <prefix>/lib/pkgconfig/ktbase.pc
#   <prefix>/plugins/                  the example plug-ins
#   <prefix>/site.prefs, <prefix>/db/
# Every installed ELF file finds its libraries through a $ORIGIN run path.
include(CMakePackageConfigHelpers)

set(KTBASE_INSTALL_CMAKEDIR "lib/cmake/ktbase")

install(TARGETS ktbase EXPORT ktbaseTargets
  LIBRARY DESTINATION ${KTBASE_BIN_SUBDIR}
  FILE_SET HEADERS DESTINATION include
  FILE_SET common_headers DESTINATION include)
install(TARGETS logmanager EXPORT ktbaseTargets
  LIBRARY DESTINATION ${KTBASE_BIN_SUBDIR}
  FILE_SET HEADERS DESTINATION include)
# The plug-in convention is header-only; it belongs with the other headers.
install(FILES ${PROJECT_SOURCE_DIR}/examples/include/ktbase/ktplugin.h
  DESTINATION include/ktbase)

install(EXPORT ktbaseTargets
  NAMESPACE ktbase::
  DESTINATION ${KTBASE_INSTALL_CMAKEDIR})
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/ktbaseConfig.cmake.in
  ${CMAKE_BINARY_DIR}/ktbaseConfig.cmake
  INSTALL_DESTINATION ${KTBASE_INSTALL_CMAKEDIR}
  PATH_VARS KTBASE_BIN_SUBDIR)
write_basic_package_version_file(
  ${CMAKE_BINARY_DIR}/ktbaseConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/ktbaseConfig.cmake
  ${CMAKE_BINARY_DIR}/ktbaseConfigVersion.cmake
  DESTINATION ${KTBASE_INSTALL_CMAKEDIR})

# Relocatable: paths are relative to the .pc file itself, so the tree works
# wherever `cmake --install --prefix` put it.
configure_file(${CMAKE_CURRENT_LIST_DIR}/ktbase.pc.in ${CMAKE_BINARY_DIR}/ktbase.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ktbase.pc DESTINATION lib/pkgconfig)

if(TARGET kthost)
  install(TARGETS kthost ktprefs RUNTIME DESTINATION ${KTBASE_BIN_SUBDIR})
  install(TARGETS example_greeter example_welcome LIBRARY DESTINATION plugins)
endif()

# The database folder, empty until something puts data there.
install(DIRECTORY DESTINATION db)
# The bundled site preferences, installed only where there are none yet, so
# an administrator's edits survive a reinstall.
install(CODE "
  set(_ktbase_site \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/site.prefs\")
  if(EXISTS \"\${_ktbase_site}\")
    message(STATUS \"Keeping: \${_ktbase_site}\")
  else()
    message(STATUS \"Installing: \${_ktbase_site}\")
    file(INSTALL \"${PROJECT_SOURCE_DIR}/examples/site.prefs\"
         DESTINATION \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  endif()")
