# Headers cost most of the time to compile: sources of a target share them, twelve at a time.
set(CMAKE_UNITY_BUILD ON CACHE BOOL "Compile several sources of a target at once")
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)

# If ccache is installed, it reuses everything that any clone has compiled.
find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}"
    CCACHE_NOHASHDIR=1 "${CCACHE}")
endif()
# For the same reason no object holds the name of this folder.
add_compile_options("-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=")

# Two interface targets that every target of ours links: the warnings, and the sanitizers of the preset.
add_library(fillstation_warnings INTERFACE)
target_compile_options(fillstation_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough
  $<$<BOOL:${FILLSTATION_WERROR}>:-Werror>)

add_library(fillstation_sanitizers INTERFACE)
if(FILLSTATION_SANITIZE)
  set(flags "-fsanitize=${FILLSTATION_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(FILLSTATION_SANITIZE MATCHES "undefined")
    # g++ leaves this check out of "undefined".
    list(APPEND flags -fsanitize=float-cast-overflow)
  endif()
  target_compile_options(fillstation_sanitizers INTERFACE ${flags})
  target_link_options(fillstation_sanitizers INTERFACE ${flags})
endif()
