# `cmake --install` into the layout the library expects of itself (its root
# is two levels above libktbase.so):
#   <prefix>/bin/linux_intel.release/  libktbase.so, liblogmanager.so, kthost, ktprefs,
#                                      the plug-in host kit libktpluginhost.so and its
#                                      probe ktplugin-probe
#   <prefix>/include/ktbase/, <prefix>/include/logmanager/
#   <prefix>/lib/cmake/ktbase/         CMake package (ktbase::ktbase, ktbase::ktpluginhost)
#   <prefix>/lib/pkgconfig/            ktbase.pc, ktpluginhost.pc
#   <prefix>/plugins/                  the example plug-ins
#   <prefix>/site.prefs, <prefix>/db/
# Every installed ELF file finds its libraries through a $ORIGIN run path.
# Each rule names its component: runtime or dev (the Debian packages ktbase
# and ktbase-dev, see KtbasePackage.cmake), or site-prefs (this tree's
# site.prefs; the package ships its own). `cmake --install` without
# --component installs all three.
include(CMakePackageConfigHelpers)

set(KTBASE_INSTALL_CMAKEDIR "lib/cmake/ktbase")

install(TARGETS ktbase EXPORT ktbaseTargets
  LIBRARY DESTINATION ${KTBASE_BIN_SUBDIR} COMPONENT runtime
  FILE_SET HEADERS DESTINATION include COMPONENT dev
  FILE_SET common_headers DESTINATION include COMPONENT dev)
install(TARGETS logmanager EXPORT ktbaseTargets
  LIBRARY DESTINATION ${KTBASE_BIN_SUBDIR} COMPONENT runtime
  FILE_SET HEADERS DESTINATION include COMPONENT dev)
# The host kit and its probe, which it finds beside libktbase.so.
install(TARGETS ktpluginhost EXPORT ktbaseTargets
  LIBRARY DESTINATION ${KTBASE_BIN_SUBDIR} COMPONENT runtime
  FILE_SET HEADERS DESTINATION include COMPONENT dev)
install(TARGETS ktplugin-probe RUNTIME DESTINATION ${KTBASE_BIN_SUBDIR} COMPONENT runtime)
# The plug-in convention is header-only; it belongs with the other headers.
install(FILES ${PROJECT_SOURCE_DIR}/examples/include/ktbase/ktplugin.h
  DESTINATION include/ktbase COMPONENT dev)

install(EXPORT ktbaseTargets
  NAMESPACE ktbase::
  DESTINATION ${KTBASE_INSTALL_CMAKEDIR}
  COMPONENT dev)
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
  ${CMAKE_CURRENT_LIST_DIR}/ktbasePluginLink.cmake
  DESTINATION ${KTBASE_INSTALL_CMAKEDIR}
  COMPONENT dev)

# Relocatable: paths are relative to the .pc file itself, so the tree works
# wherever `cmake --install --prefix` put it.
set(KTBASE_PC_PREFIX "\${pcfiledir}/../..")
foreach(pc ktbase ktpluginhost)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${pc}.pc.in ${CMAKE_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${pc}.pc DESTINATION lib/pkgconfig COMPONENT dev)
endforeach()

if(TARGET kthost)
  install(TARGETS kthost ktprefs RUNTIME DESTINATION ${KTBASE_BIN_SUBDIR} COMPONENT runtime)
  install(TARGETS example_greeter example_welcome
    LIBRARY DESTINATION plugins COMPONENT runtime)
endif()

# The database folder, empty until something puts data there.
install(DIRECTORY DESTINATION db COMPONENT runtime)
# The bundled site preferences, installed only where there are none yet, so
# an administrator's edits survive a reinstall. The Debian package does not
# take this component: it ships the file as a conffile instead.
install(CODE "
  set(_ktbase_site \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/site.prefs\")
  if(EXISTS \"\${_ktbase_site}\")
    message(STATUS \"Keeping: \${_ktbase_site}\")
  else()
    message(STATUS \"Installing: \${_ktbase_site}\")
    file(INSTALL \"${PROJECT_SOURCE_DIR}/examples/site.prefs\"
         DESTINATION \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  endif()"
  COMPONENT site-prefs)
