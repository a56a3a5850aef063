# What the Linux dataplane is built with. Whatever is missing is named at once, with the package that has it.
set(velm_missing "")

find_program(VELM_BPF_CLANG clang-16)
find_program(VELM_BPFTOOL bpftool PATHS /usr/sbin /sbin)
foreach(program VELM_BPF_CLANG:clang-16 VELM_BPFTOOL:bpftool)
  string(REPLACE ":" ";" program ${program})
  list(GET program 0 variable)
  list(GET program 1 name)
  if(NOT ${variable})
    string(APPEND velm_missing "\n  the program ${name} (package ${name})")
  endif()
endforeach()

pkg_check_modules(BPF IMPORTED_TARGET libbpf)
pkg_check_modules(NL IMPORTED_TARGET libnl-3.0 libnl-genl-3.0)
if(NOT BPF_FOUND)
  string(APPEND velm_missing "\n  the library libbpf (package libbpf-dev)")
endif()
if(NOT NL_FOUND)
  string(APPEND velm_missing "\n  the libraries libnl-3 and libnl-genl-3 (packages libnl-3-dev, libnl-genl-3-dev)")
endif()
if(velm_missing)
  message(FATAL_ERROR "The Linux dataplane cannot be built for want of${velm_missing}\n"
                      "scripts/setup.sh installs all of it; -DVELM_LINUX=OFF builds without this dataplane.")
endif()

# velm_bpf(TARGET SOURCE): compiles a BPF program and makes its skeleton, which the target includes by the source's path
# from the root: of bench/Lookup.bpf.c it is "bench/Lookup.skel.h", whose functions begin with Lookup. No flags of other
# targets apply, least of all a sanitizer's: this is another machine's code.
function(velm_bpf target source)
  cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} OUTPUT_VARIABLE path)
  cmake_path(RELATIVE_PATH path BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE place)
  string(REGEX REPLACE "\\.bpf\\.c$" "" place ${place})
  cmake_path(GET place FILENAME name)
  set(object ${PROJECT_BINARY_DIR}/${place}.bpf.o)
  set(skeleton ${PROJECT_BINARY_DIR}/${place}.skel.h)
  # The kernel's headers for programs lie where the compiler's own target looks for them, and BPF is another target.
  add_custom_command(
    OUTPUT ${skeleton}
    COMMAND ${VELM_BPF_CLANG} -target bpf -mcpu=v3 -O2 -g -Wall -Wextra -Wno-unused-parameter -Werror
            -I${PROJECT_SOURCE_DIR} -idirafter /usr/include/${CMAKE_LIBRARY_ARCHITECTURE}
            -MD -MT ${skeleton} -MF ${object}.d -c ${path} -o ${object}
    COMMAND ${VELM_BPFTOOL} gen skeleton ${object} name ${name} > ${skeleton}
    DEPENDS ${path}
    DEPFILE ${object}.d
    COMMENT "Making the skeleton of ${place}.bpf.c"
    VERBATIM)
  target_sources(${target} PRIVATE ${skeleton})
  target_include_directories(${target} PRIVATE ${PROJECT_BINARY_DIR})
  target_link_libraries(${target} PRIVATE PkgConfig::BPF)
endfunction()
