# fuzz_plugin_record: the host kit's record reader and cache parser, compiled
# into the target with its instrumentation; libelf is the reader's reference.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBELF REQUIRED IMPORTED_TARGET libelf)
add_executable(fuzz_plugin_record fuzz_plugin_record.cpp
  ${PROJECT_SOURCE_DIR}/pluginhost/plugin_record.cpp
  ${PROJECT_SOURCE_DIR}/pluginhost/verdict_cache.cpp
  ${PROJECT_SOURCE_DIR}/pluginhost/verdict_name.cpp)
target_compile_options(fuzz_plugin_record PRIVATE -fsanitize=fuzzer,address,undefined ${KTBASE_FUZZ_FLAGS})
target_link_options(fuzz_plugin_record PRIVATE -fsanitize=fuzzer,address,undefined)
target_include_directories(fuzz_plugin_record PRIVATE ${PROJECT_SOURCE_DIR}/tests/support
  ${PROJECT_SOURCE_DIR}/pluginhost ${PROJECT_SOURCE_DIR}/pluginhost/include
  ${PROJECT_SOURCE_DIR}/examples/include)
target_link_libraries(fuzz_plugin_record PRIVATE ktbase logmanager Boost::filesystem PkgConfig::LIBELF)
ktbase_set_warnings(fuzz_plugin_record)
