# Shared compile settings. nlohmann/json is the heaviest header we use and almost every
# file needs it, so it is precompiled once per target instead of parsed in every file.
function(vorna_target_defaults target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
  # Headers by project path, from the source tree or an installed include folder.
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
  target_precompile_headers(${target} PRIVATE <nlohmann/json.hpp> <string> <vector> <memory>)
endfunction()

# One line per test executable: vorna_add_unit_test(name sources... LIBS libs...)
function(vorna_add_unit_test name)
  cmake_parse_arguments(T "" "" "LIBS" ${ARGN})
  add_executable(${name} ${T_UNPARSED_ARGUMENTS})
  vorna_target_defaults(${name})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main GTest::gmock)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 30)
endfunction()

# Compiles a text file of the source tree into `target` as the string constant `name`
# (namespace `ns`): the header <build>/generated/<the file's folder>/<file>_<ext>.h,
# included by its project path, is remade by cmake/embed_text.cmake when the file changes.
function(vorna_embed_text target file ns name)
  get_filename_component(input ${file} ABSOLUTE)
  file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR} ${input})
  string(REGEX REPLACE "\\.([^./]+)$" "_\\1.h" rel_header ${rel})
  set(header ${PROJECT_BINARY_DIR}/generated/${rel_header})
  add_custom_command(OUTPUT ${header}
    COMMAND ${CMAKE_COMMAND} -DINPUT=${input} -DOUTPUT=${header} -DNAME=${name} -DNAMESPACE=${ns}
            -P ${PROJECT_SOURCE_DIR}/cmake/embed_text.cmake
    DEPENDS ${input} ${PROJECT_SOURCE_DIR}/cmake/embed_text.cmake
    COMMENT "Embedding ${rel}" VERBATIM)
  target_sources(${target} PRIVATE ${header})
  target_include_directories(${target} PRIVATE ${PROJECT_BINARY_DIR}/generated)
endfunction()
