# ktbase_set_warnings(<target>): the project's warning set on one target.
function(ktbase_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wnon-virtual-dtor
                                           -Woverloaded-virtual)
  if(KTBASE_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
