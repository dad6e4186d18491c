# Debian packages built by CPack, one per install component
# (scripts/package.sh, or `cpack --preset package`):
#   ktbase      component runtime: libraries (the host kit included), kthost,
#               ktprefs, ktplugin-probe, the example
#               plug-ins and the db folder under KTBASE_PACKAGE_ROOT; links to
#               the two programs in /usr/bin; site.prefs as a conffile in
#               KTBASE_PACKAGE_CONFDIR, linked from the root, where the library
#               reads and writes it.
#   ktbase-dev  component dev: headers, the CMake package and the relocatable
#               .pc files (ktbase, ktpluginhost) in the root, and copies with an
#               absolute prefix in the system's pkg-config folder. Depends on
#               ktbase of the same version.
#   ktbase-doc  component doc (when the build makes the SDK reference, as the
#               package preset does): its HTML in /usr/share/doc/ktbase-doc.
#               Architecture all, no dependencies.
#   python3-ktbase  component python (when the module is built): the module
#               and its stub beside the library, and a .pth file that puts
#               that folder on the system interpreter's path. Depends on
#               ktbase of the same version and the Python it was built for.
# The rules below install to absolute paths and carry EXCLUDE_FROM_ALL: a plain
# `cmake --install --prefix` takes none of them and writes nothing outside its
# prefix. CPack installs each component by name, which takes them, into its
# staging folder (CPACK_SET_DESTDIR), never into the build machine.
#
# Another package: install its files with a COMPONENT of its own, add it to
# _ktbase_components, call ktbase_deb_docs(), set its CPACK_DEBIAN_<COMPONENT>_*
# name, section and description, cpack_add_component(... DEPENDS runtime),
# and teach scripts/package-check.sh the package (python3-ktbase does all
# this below).

set(KTBASE_PACKAGE_ROOT "/opt/ktbase" CACHE PATH
  "Installation root in the Debian packages")
set(KTBASE_PACKAGE_CONFDIR "/etc/ktbase" CACHE PATH
  "Folder of the packaged site.prefs, a conffile")
set(KTBASE_PACKAGE_MAINTAINER "ktbase developers <dev@ktbase.invalid>" CACHE STRING
  "Maintainer of the Debian packages")
set(KTBASE_PACKAGE_RELEASE "1" CACHE STRING "Debian revision of the packages")
set(KTBASE_DEB_VERSION "${PROJECT_VERSION}-${KTBASE_PACKAGE_RELEASE}")

set(_ktbase_deb "${CMAKE_BINARY_DIR}/deb")
file(MAKE_DIRECTORY "${_ktbase_deb}/bin" "${_ktbase_deb}/man")

# The programs on the PATH. The loader takes $ORIGIN, and the library its own
# path, from the real file, not the link, so both still find the root.
# Absolute: /usr and /opt are different top-level folders.
if(TARGET kthost)
  foreach(program kthost ktprefs)
    file(CREATE_LINK "${KTBASE_PACKAGE_ROOT}/${KTBASE_BIN_SUBDIR}/${program}"
      "${_ktbase_deb}/bin/${program}" SYMBOLIC)
  endforeach()
  install(FILES "${_ktbase_deb}/bin/kthost" "${_ktbase_deb}/bin/ktprefs"
    DESTINATION /usr/bin COMPONENT runtime EXCLUDE_FROM_ALL)
endif()

# Their manual pages, made by help2man from --help and --version (the package
# preset turns this on; scripts/package-check.sh wants them).
option(KTBASE_BUILD_MAN_PAGES "Make the programs' manual pages (needs help2man)" OFF)
if(TARGET kthost AND KTBASE_BUILD_MAN_PAGES)
  find_program(KTBASE_HELP2MAN help2man REQUIRED)
  set(_ktbase_kthost_name "example host of the ktbase plug-in framework")
  set(_ktbase_ktprefs_name "show and edit the preference files of a ktbase installation")
  set(_ktbase_man_pages)
  foreach(program kthost ktprefs)
    set(page "${_ktbase_deb}/man/${program}.1")
    add_custom_command(OUTPUT "${page}.gz"
      COMMAND "${KTBASE_HELP2MAN}" --no-info --no-discard-stderr --section 1
        "--name=${_ktbase_${program}_name}" "--output=${page}" "$<TARGET_FILE:${program}>"
      COMMAND gzip -9nf "${page}"
      DEPENDS ${program}
      VERBATIM)
    list(APPEND _ktbase_man_pages "${page}.gz")
  endforeach()
  add_custom_target(ktbase_man_pages ALL DEPENDS ${_ktbase_man_pages})
  install(FILES ${_ktbase_man_pages} DESTINATION /usr/share/man/man1
    COMPONENT runtime EXCLUDE_FROM_ALL)
endif()

# A conffile keeps an administrator's edits over an upgrade and a remove, and
# Debian puts conffiles under /etc: the file lives there and the root holds a
# link to it. Reads and saves (a plain fopen) go through the link. /etc/ktbase
# rather than /etc/opt/ktbase: no package owns /etc/opt, so a purge would take
# it away once empty, as it does /opt (the postrm puts /opt back; a purge
# removes folders after the postrm has run).
install(FILES "${PROJECT_SOURCE_DIR}/examples/site.prefs"
  DESTINATION "${KTBASE_PACKAGE_CONFDIR}" COMPONENT runtime EXCLUDE_FROM_ALL)
file(CREATE_LINK "${KTBASE_PACKAGE_CONFDIR}/site.prefs" "${_ktbase_deb}/site.prefs" SYMBOLIC)
install(FILES "${_ktbase_deb}/site.prefs" DESTINATION . COMPONENT runtime EXCLUDE_FROM_ALL)
configure_file("${CMAKE_CURRENT_LIST_DIR}/deb/conffiles.in" "${_ktbase_deb}/conffiles" @ONLY)

# pkg-config's default search path does not reach /opt: this copy, with the
# root spelled out, goes where it looks.
set(KTBASE_PC_PREFIX "${KTBASE_PACKAGE_ROOT}")
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(_ktbase_pcdir "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig")
else()
  set(_ktbase_pcdir "/usr/lib/pkgconfig")
endif()
foreach(pc ktbase ktpluginhost)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${pc}.pc.in" "${_ktbase_deb}/${pc}.pc" @ONLY)
  install(FILES "${_ktbase_deb}/${pc}.pc" DESTINATION "${_ktbase_pcdir}"
    COMPONENT dev EXCLUDE_FROM_ALL)
endforeach()

# Every package carries the copyright and Debian changelog files, and the
# lintian overrides it has (each says why).
configure_file("${CMAKE_CURRENT_LIST_DIR}/deb/changelog.in" "${_ktbase_deb}/changelog.Debian" @ONLY)
# gzip -n: no name or time stamp in the header, so the same sources give the
# same package.
execute_process(COMMAND gzip -9nc "${_ktbase_deb}/changelog.Debian"
  OUTPUT_FILE "${_ktbase_deb}/changelog.Debian.gz" COMMAND_ERROR_IS_FATAL ANY)
function(ktbase_deb_docs component package)
  install(FILES "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/deb/copyright"
    "${_ktbase_deb}/changelog.Debian.gz"
    DESTINATION "/usr/share/doc/${package}" COMPONENT ${component} EXCLUDE_FROM_ALL)
  set(overrides "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/deb/${package}.lintian-overrides")
  if(EXISTS "${overrides}")
    install(FILES "${overrides}" DESTINATION /usr/share/lintian/overrides
      RENAME ${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endfunction()
ktbase_deb_docs(runtime ktbase)
ktbase_deb_docs(dev ktbase-dev)

# The module stays beside libktbase.so (see python/CMakeLists.txt); the .pth
# file makes `import ktbase` work without PYTHONPATH.
set(_ktbase_components runtime dev)
if(TARGET ktbase_python)
  list(APPEND _ktbase_components python)
  get_target_property(_ktbase_python_version ktbase_python KTBASE_PYTHON_VERSION)
  file(WRITE "${_ktbase_deb}/ktbase.pth" "${KTBASE_PACKAGE_ROOT}/${KTBASE_BIN_SUBDIR}\n")
  install(FILES "${_ktbase_deb}/ktbase.pth" DESTINATION /usr/lib/python3/dist-packages
    COMPONENT python EXCLUDE_FROM_ALL)
  ktbase_deb_docs(python python3-ktbase)
endif()

# The SDK reference, built by the docs target (docs/reference). Nothing of
# it lies in the root, which CPack would still make: the pre-build script
# drops it.
if(TARGET docs)
  list(APPEND _ktbase_components doc)
  install(DIRECTORY "${CMAKE_BINARY_DIR}/html" DESTINATION /usr/share/doc/ktbase-doc
    COMPONENT doc EXCLUDE_FROM_ALL)
  ktbase_deb_docs(doc ktbase-doc)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/deb/drop-empty-root.cmake"
    "${_ktbase_deb}/drop-empty-root.cmake" @ONLY)
  set(CPACK_PRE_BUILD_SCRIPTS "${_ktbase_deb}/drop-empty-root.cmake")
endif()

set(CPACK_PACKAGE_NAME ktbase)
set(CPACK_PACKAGE_VENDOR "ktbase developers")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
# CPack's own default: CPackDeb then takes each package's synopsis from the
# first line of its description instead of putting one shared synopsis above.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${_ktbase_components})
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX "${KTBASE_PACKAGE_ROOT}")
set(CPACK_PACKAGING_INSTALL_PREFIX "${KTBASE_PACKAGE_ROOT}")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE "${KTBASE_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KTBASE_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ktbase)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${_ktbase_deb}/conffiles" "${CMAKE_CURRENT_LIST_DIR}/deb/postrm")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "base system of the Norvex plug-in framework
libktbase.so gives a host application and its plug-ins one process-wide
system object (registries of singletons, components and named objects,
startup factories), preferences in user, project and site scopes, the
installation's paths, module loading, a file log and 128-bit identifiers.

This package installs the library and its logging library in
${KTBASE_PACKAGE_ROOT}, with the plug-in host kit (libktpluginhost.so and its
probe program, which read plug-in records without loading them, probe new
plug-ins in a child process and cache the verdicts), the example host
kthost, the preference tool ktprefs (both on the PATH), two example
plug-ins and the site preferences (${KTBASE_PACKAGE_CONFDIR}/site.prefs).")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ktbase-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
# The public headers include Boost.Signals2.
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libboost-dev (>= 1.74)")
set(CPACK_DEBIAN_DEV_DESCRIPTION
  "base system of the Norvex plug-in framework (development files)
Headers, the CMake package (find_package(ktbase), ktbase::ktbase,
ktbase::ktpluginhost and ktbase_add_plugin) and the pkg-config files (ktbase,
ktpluginhost) for building hosts and plug-ins against libktbase.so and the
plug-in host kit. find_package and pkg-config find them without extra search
paths.")

set(CPACK_DEBIAN_DOC_PACKAGE_NAME ktbase-doc)
set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOC_DESCRIPTION
  "base system of the Norvex plug-in framework (SDK reference)
The reference of the public headers of libktbase.so, generated from them,
with the guides: writing a plug-in, hosting plug-ins, the preference files
and their lookup rules, the paths, the Python module, the packages, and
what may run on several threads at once. Open
/usr/share/doc/ktbase-doc/html/index.html in a browser.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-ktbase)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
# Built against one Python: its extension-module ABI tag is in the file name.
if(_ktbase_python_version)
  string(REGEX REPLACE "^3\\.([0-9]+)$" "\\1" _ktbase_python_minor "${_ktbase_python_version}")
  math(EXPR _ktbase_python_next "${_ktbase_python_minor} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= ${_ktbase_python_version}), python3 (<< 3.${_ktbase_python_next})")
endif()
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
  "base system of the Norvex plug-in framework (Python 3 module)
The module ktbase gives pipeline scripts the preferences (the same files,
lookup order, path tokens and number rules as C++ plug-ins), identifiers and
installation paths of ktbase, through libktbase.so itself. It lies in
${KTBASE_PACKAGE_ROOT}/${KTBASE_BIN_SUBDIR}, which a .pth file puts on the
system interpreter's path: import ktbase needs no PYTHONPATH.")

include(CPack)
cpack_add_component(runtime DISPLAY_NAME "ktbase")
cpack_add_component(dev DISPLAY_NAME "ktbase-dev" DEPENDS runtime)
cpack_add_component(python DISPLAY_NAME "python3-ktbase" DEPENDS runtime)
cpack_add_component(doc DISPLAY_NAME "ktbase-doc")
