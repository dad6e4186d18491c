# How a ktbase plug-in module is linked. Installed with the CMake package,
# where ktbase_add_plugin() uses it, and used by this tree's own plug-ins and
# test modules, so what the tests show is what plug-in authors get.
function(ktbase_plugin_link_settings target)
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  # Never unmapped, even by a host that calls dlclose: a plug-in's
  # factories, vtables and slots stay registered with the system, and
  # unmapping their code would crash the host later, far from the cause.
  target_link_options(${target} PRIVATE "LINKER:-z,nodelete")
endfunction()
