# cmake -P: installs the build into a fresh prefix, checks the installed
# layout and run paths, runs the installed programs, then builds an
# out-of-tree plug-in against the prefix (CMake package, then pkg-config, then
# with -DCLANG_COMPILER through the CMake package again, built by clang++) and
# runs the installed kthost on it, and builds a host on the installed host kit
# (-DHOST_SOURCE) and runs it on the same plug-in. With -DPYTHON_MODULE and
# -DPYTHON, also imports the installed Python module.
cmake_minimum_required(VERSION 3.25)
foreach(var BUILD_DIR CONSUMER_SOURCE HOST_SOURCE WORK_DIR GENERATOR CXX_COMPILER)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "consumer test: -D${var}=... is missing")
  endif()
endforeach()

file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")
set(bin "${prefix}/bin/linux_intel.release")
file(MAKE_DIRECTORY "${WORK_DIR}/tmp")
set(ENV{TMPDIR} "${WORK_DIR}/tmp")  # the preference manager's user folder
unset(ENV{LD_LIBRARY_PATH})         # run paths alone must do
unset(ENV{PKG_CONFIG_PATH})

# Runs a command; stops with its output when it fails. Sets OUT, spaces
# squeezed, for expect().
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed (${status}): ${ARGN}\n${out}\n${err}")
  endif()
  string(REGEX REPLACE " +" " " out "${out}")
  set(OUT "${out}" PARENT_SCOPE)
endfunction()

function(expect text)
  string(FIND "${OUT}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "expected '${text}' in:\n${OUT}")
  endif()
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")
# The Debian packages' rules (absolute paths) are not part of a plain install.
file(STRINGS "${BUILD_DIR}/install_manifest.txt" installed)
foreach(path IN LISTS installed)
  string(FIND "${path}" "${prefix}/" at)
  if(NOT at EQUAL 0)
    message(FATAL_ERROR "installed outside the prefix: ${path}")
  endif()
endforeach()

set(elf_files
  "bin/linux_intel.release/libktbase.so=$ORIGIN"
  "bin/linux_intel.release/liblogmanager.so=$ORIGIN"
  "bin/linux_intel.release/kthost=$ORIGIN"
  "bin/linux_intel.release/ktprefs=$ORIGIN"
  "bin/linux_intel.release/libktpluginhost.so=$ORIGIN"
  "bin/linux_intel.release/ktplugin-probe=$ORIGIN"
  "plugins/libexample_greeter.so=$ORIGIN/../bin/linux_intel.release"
  "plugins/libexample_welcome.so=$ORIGIN/../bin/linux_intel.release")
if(PYTHON_MODULE)
  list(APPEND elf_files "bin/linux_intel.release/${PYTHON_MODULE}=$ORIGIN")
endif()
foreach(entry IN LISTS elf_files)
  string(REGEX MATCH "^([^=]+)=(.*)$" _ "${entry}")
  set(file "${CMAKE_MATCH_1}")
  set(want "${CMAKE_MATCH_2}")
  run(readelf -d "${prefix}/${file}")
  string(REGEX MATCH "\\(RUNPATH\\)[^\n]*\\[([^\n]*)\\]" found "${OUT}")
  if(NOT CMAKE_MATCH_1 STREQUAL want OR OUT MATCHES "\\(RPATH\\)")
    message(FATAL_ERROR "${file}: run path '${CMAKE_MATCH_1}', expected RUNPATH '${want}'")
  endif()
endforeach()
foreach(file
    include/ktbase/ktbase.h include/ktbase/ktplugin.h include/ktbase/moduleutils.h
    include/ktbase/ktpluginhost.h lib/pkgconfig/ktpluginhost.pc
    include/logmanager/log.h lib/cmake/ktbase/ktbaseConfig.cmake
    lib/cmake/ktbase/ktbaseConfigVersion.cmake lib/pkgconfig/ktbase.pc site.prefs)
  if(NOT EXISTS "${prefix}/${file}")
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
if(NOT IS_DIRECTORY "${prefix}/db")
  message(FATAL_ERROR "not installed: the db folder")
endif()

# The installed host on the installed plug-ins, found through site.prefs
# (Plugins.Path=<ROOT_DIR>/plugins).
run("${bin}/kthost" --strict)
expect("folder ${prefix}/plugins (preference Plugins.Path, tokens expanded)")
expect("module libexample_greeter.so\n record plug-in interface 1, ktbase ")
expect("welcome: startup: found Example.GreetingService by name: Hello, world!")
run("${bin}/ktprefs" get Plugins.Path)
expect("${prefix}/plugins\n")

# The installed Python module with PYTHONPATH alone: the same root and the
# same preference as the installed programs.
if(PYTHON_MODULE)
  set(ENV{PYTHONPATH} "${bin}")
  run("${PYTHON}" -c "import ktbase\np = ktbase.Prefs(writable=False)\np.load()\n\
print(ktbase.root_dir(), p.get('Plugins.Path', ''), open('${bin}/ktbase.pyi').readline())")
  expect("${prefix} ${prefix}/plugins \"\"\"ktbase:")
  unset(ENV{PYTHONPATH})
endif()

# <how>,<compiler>: the library's compiler through the CMake package and
# through pkg-config; clang++ (when given) through the CMake package, without
# the library's flags: a sanitizer runtime of one compiler does not serve the
# other's code, and a plug-in need not be instrumented.
set(builds "package,${CXX_COMPILER}" "pkg-config,${CXX_COMPILER}")
if(CLANG_COMPILER)
  list(APPEND builds "package,${CLANG_COMPILER}")
else()
  message(STATUS "consumer test: no clang++, consumer built by ${CXX_COMPILER} only")
endif()
foreach(entry IN LISTS builds)
  string(REGEX MATCH "^([^,]+),(.*)$" _ "${entry}")
  set(mode "${CMAKE_MATCH_1}")
  set(compiler "${CMAKE_MATCH_2}")
  get_filename_component(name "${compiler}" NAME)
  set(build "${WORK_DIR}/build-${mode}-${name}")
  set(how -DCMAKE_PREFIX_PATH=${prefix})
  set(flags "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_MODULE_LINKER_FLAGS=${LINKER_FLAGS}")
  set(id "")
  if(compiler STREQUAL CLANG_COMPILER)
    set(flags)
    set(id Clang)  # the plug-in says which compiler built it
  endif()
  unset(ENV{PKG_CONFIG_PATH})
  if(mode STREQUAL "pkg-config")
    set(ENV{PKG_CONFIG_PATH} "${prefix}/lib/pkgconfig")
    set(how -DUSE_PKGCONFIG=ON)
  endif()
  run("${CMAKE_COMMAND}" -S "${CONSUMER_SOURCE}" -B "${build}" -G "${GENERATOR}"
      "-DCMAKE_CXX_COMPILER=${compiler}" ${flags} ${how})
  run("${CMAKE_COMMAND}" --build "${build}")
  run(readelf -d "${build}/libhello.so")
  expect("NODELETE")  # never unmapped, whatever the host
  if(id STREQUAL "Clang")
    run(readelf -p .comment "${build}/libhello.so")
    expect("clang version")
  endif()
  run("${bin}/kthost" --plugins "${build}" --strict)
  expect("module libhello.so\n record plug-in interface 1, ktbase ")
  expect(", \"Hello\" 6F1C2B9A-0D4E-4A7B-8C35-2E9F1A6D7B40\n")  # KTPLUGIN_INFO's
  expect("loaded plug-in interface 1")
  expect("hello: clock started")
  expect("hello: startup in root ${prefix}")
  expect("hello: clock stopped")
  if(NOT id STREQUAL "Clang")
    # A host on the installed kit: its probe, its cache below TMPDIR.
    set(host "${WORK_DIR}/host-${mode}")
    run("${CMAKE_COMMAND}" -S "${HOST_SOURCE}" -B "${host}" -G "${GENERATOR}"
        "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}" ${how})
    run("${CMAKE_COMMAND}" --build "${host}")
    run("${host}/host" "${build}")
    expect("good ${build}/libhello.so loaded\n")
    expect("[hello] startup in root ${prefix}")
  endif()
endforeach()
message(STATUS "consumer test passed: ${prefix}")
