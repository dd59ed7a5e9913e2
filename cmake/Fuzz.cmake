# The targets of tests/fuzz. Only what the targets reach is built by this compiler, and all of it under the fuzzer's eyes.
set(reached base/deadline_queue.cpp base/image.cpp base/property_list.cpp base/property_list_limits.cpp
    base/run_loop.cpp base/session_scope.cpp model/image_tools.cpp model/json.cpp model/json_accessors.cpp model/json_comparison.cpp
    model/json_document.cpp model/json_iteration.cpp model/json_writing.cpp model/text.cpp model/xml_document.cpp
    model/xml_parser.cpp platform/linux/mpris_metadata.cpp platform/linux/untagged_track.cpp
    remote/gcd_async_socket.cpp remote/gcd_async_socket_pre_buffer.cpp)
list(TRANSFORM reached PREPEND "${PROJECT_SOURCE_DIR}/src/")
add_library(merlode_fuzzed OBJECT ${reached} "${PROJECT_SOURCE_DIR}/tests/support/virtual_run_loop.cpp")
target_include_directories(merlode_fuzzed PUBLIC "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/tests")
target_link_libraries(merlode_fuzzed PUBLIC Qt6::Gui Qt6::DBus simdjson::simdjson PkgConfig::PLIST)

foreach(target json xml text metadata picture message)
  add_executable(fuzz_${target} tests/fuzz/targets.cpp)
  target_compile_definitions(fuzz_${target} PRIVATE MERLODE_FUZZ_TARGET=${target})
  target_link_libraries(fuzz_${target} PRIVATE merlode_fuzzed)
  target_link_options(fuzz_${target} PRIVATE -fsanitize=fuzzer)
  # The same inputs every time: the seeds, and what is made of them with one seed of chance.
  file(GLOB seeds CONFIGURE_DEPENDS "tests/fuzz/seeds/${target}/*")
  list(JOIN seeds "," seeds)
  add_test(NAME Fuzz.${target} COMMAND fuzz_${target} -runs=60000 -seed=1 -max_len=4096 -timeout=10 -seed_inputs=${seeds})
endforeach()
