# CPack pre-build script: CPack makes the installation root in every
# package's staging folder. A package that installs nothing there (the
# documentation) would then own an empty /opt/ktbase, and its purge could
# take /opt away: drop the root where it stayed empty.
file(GLOB _ktbase_staged LIST_DIRECTORIES true "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
foreach(_dir IN LISTS _ktbase_staged)
  set(_root "${_dir}@KTBASE_PACKAGE_ROOT@")
  file(GLOB _ktbase_inside "${_root}/*")
  if(IS_DIRECTORY "${_root}" AND NOT _ktbase_inside)
    file(REMOVE_RECURSE "${_root}")
    # And the folders above it, up to the staging folder, once empty.
    get_filename_component(_up "${_root}" DIRECTORY)
    while(NOT _up STREQUAL _dir)
      file(GLOB _ktbase_inside "${_up}/*")
      if(_ktbase_inside)
        break()
      endif()
      file(REMOVE_RECURSE "${_up}")
      get_filename_component(_up "${_up}" DIRECTORY)
    endwhile()
  endif()
endforeach()
