# What every target of the tree is built with.
option(MERLODE_BUILD_TESTS "Build the tests" OFF)
option(MERLODE_BUILD_BENCH "Build the benchmarks" OFF)
option(MERLODE_BUILD_FUZZ "Build the fuzz targets, which takes clang" OFF)
set(MERLODE_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them: address,undefined or thread")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(CCACHE ccache)
if(CCACHE)
  # Precompiled headers and ccache agree only when times of change are left out of the hash.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
      "CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime" "${CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Werror)
# GCC 12 warns of uninitialised members inside its own <functional> and <optional> once optimised.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH
                        QT_DISABLE_DEPRECATED_BEFORE=0x060400 MERLODE_VERSION="${PROJECT_VERSION}")

if(MERLODE_SANITIZE)
  add_compile_options(-fsanitize=${MERLODE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${MERLODE_SANITIZE})
endif()
add_link_options(-Wl,--as-needed)

# One precompiled header for the whole tree: the Qt and standard headers that nearly every file uses.
function(merlode_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
  target_precompile_headers(${name} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/precompiled.h")
endfunction()
