# fillstation_layer(NAME SOURCES … LINKS …): the static library of one folder of src/. Its include
# directories are its own folder and those of the libraries that it links, nothing else, so that an
# include against the direction of the arrows does not compile.
function(fillstation_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "SOURCES;LINKS")
  if(layer_SOURCES)
    add_library(fillstation_${name} STATIC ${layer_SOURCES})
    target_include_directories(fillstation_${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(fillstation_${name}
      PUBLIC ${layer_LINKS} PRIVATE fillstation_warnings fillstation_sanitizers)
  else()
    add_library(fillstation_${name} INTERFACE)
    target_include_directories(fillstation_${name} INTERFACE "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(fillstation_${name} INTERFACE ${layer_LINKS})
  endif()
endfunction()

# fillstation_test(NAME SOURCES … LINKS … [SHARDS N]): a GoogleTest program. ctest runs it whole, or as
# N processes that share its cases; those that need it begin first. What came of each case is in
# results/ of the build folder.
function(fillstation_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "SHARDS" "SOURCES;LINKS")
  add_executable(${name} ${test_SOURCES})
  target_link_libraries(${name} PRIVATE ${test_LINKS} GTest::gtest fillstation_warnings
    fillstation_sanitizers)
  if(NOT test_SHARDS)
    set(test_SHARDS 1)
  endif()
  list(TRANSFORM test_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  foreach(shard RANGE 1 ${test_SHARDS})
    math(EXPR index "${shard} - 1")
    set(test "${name} ${shard}")
    add_test(NAME "${test}" COMMAND ${name})
    # ./test -R looks for the cases in the required files.
    set_tests_properties("${test}" PROPERTIES TIMEOUT 600 COST ${test_SHARDS}
      REQUIRED_FILES "${test_SOURCES}"
      ENVIRONMENT "QT_QPA_PLATFORM=offscreen;GTEST_BRIEF=1;\
GTEST_OUTPUT=xml:${CMAKE_BINARY_DIR}/results/${name}.${shard}/;\
GTEST_TOTAL_SHARDS=${test_SHARDS};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()
