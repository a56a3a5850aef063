# What every target of the project shares. Sources include each other by their path from the root.
add_library(velm_options INTERFACE)
target_include_directories(velm_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(velm_options INTERFACE -Wall -Wextra $<$<NOT:$<BOOL:${VELM_FUZZ}>>:-Werror>)
if(VELM_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(VELM_SANITIZE)
  add_compile_options(-fsanitize=${VELM_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VELM_SANITIZE})
  # Instrumented code hides from g++ 12 that <regex> and std::function set what they read.
  add_compile_options(-Wno-maybe-uninitialized)
  # For tests that measure memory, which means nothing there.
  add_compile_definitions(VELM_SANITIZED)
  if(VELM_SANITIZE STREQUAL "thread")
    # Headers of libraries lay classes out by it (protobuf its maps), and the libraries were built without.
    add_compile_options(-U__SANITIZE_THREAD__)
  endif()
  if(VELM_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

if(VELM_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic -fno-inline)
  add_link_options(--coverage -Wl,--wrap=kill)
  add_library(velm_coverage OBJECT ${PROJECT_SOURCE_DIR}/tests/support/CoverageAtEnd.cpp)
endif()

# velm_reads_json(TARGET): its sources include rapidjson, which adds to null pointers; clang tells of that.
function(velm_reads_json target)
  if(VELM_FUZZ AND VELM_SANITIZE MATCHES "undefined")
    target_compile_options(${target} PRIVATE -fno-sanitize=pointer-overflow)
  endif()
endfunction()

# velm_precompile(TARGET HEADERS...): what most sources of the target begin with is read once for all of them.
# velm_precompile(TARGET REUSE_FROM OTHER): the same headers as another target, whose definitions must be the same.
function(velm_precompile target)
  if(ARGV1 STREQUAL REUSE_FROM)
    target_precompile_headers(${target} ${ARGN})
  else()
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
  # gcc's; ccache must see that there is one.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()

# velm_library(NAME SOURCES... LINK LIBRARIES...): one layer of the project as a static library.
function(velm_library name)
  cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC velm_options ${ARG_LINK})
endfunction()

# velm_executable(NAME SOURCES... LINK LIBRARIES...)
function(velm_executable name)
  cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE velm_options ${ARG_LINK})
  if(VELM_COVERAGE)
    target_link_libraries(${name} PRIVATE velm_coverage)
  endif()
endfunction()
