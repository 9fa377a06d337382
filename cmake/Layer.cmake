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

# fillstation_test(NAME SOURCES … LINKS …): a GoogleTest program; ctest lists each of its cases.
function(fillstation_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "SOURCES;LINKS")
  add_executable(${name} ${test_SOURCES})
  target_link_libraries(${name} PRIVATE ${test_LINKS} GTest::gtest fillstation_warnings
    fillstation_sanitizers)
  # Listed when ctest starts, in the environment of the test preset, which the sanitizers need.
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60 DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT 120 ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()
