# The README shows the guide host's [load] snippet; fails when the two differ.
#   cmake -DSOURCE=<host.cpp> -DREADME=<README.md> -P readme_snippet.cmake
file(READ "${SOURCE}" source)
string(REGEX MATCH "    // \\[load\\]\n(.*)\n    // \\[load\\]" found "${source}")
if(NOT found)
  message(FATAL_ERROR "no [load] snippet in ${SOURCE}")
endif()
# The snippet sits in a function body: four spaces deeper than the README's block.
string(REPLACE "\n    " "\n" snippet "\n${CMAKE_MATCH_1}")
string(SUBSTRING "${snippet}" 1 -1 snippet)
file(READ "${README}" readme)
string(FIND "${readme}" "```cpp\n${snippet}\n```" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show the [load] snippet of ${SOURCE} as it is now:\n${snippet}")
endif()
