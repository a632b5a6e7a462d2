# Layout and export numbers must be bit-identical across runs and builds: the force
# simulation magnifies one-bit differences, so no fused multiply-add, no fast-math and
# no host-specific instruction selection. These hold for every target, tree-sitter's too.
add_compile_options(-ffp-contract=off -fno-fast-math)

option(VANTREL_WERROR "Treat warnings of our own targets as errors (CI builds with it)" OFF)

# Warnings for our own code only: the tree-sitter sources are not ours to fix. Their
# targets live in the top folder; vantrel_apply_warnings() gives the warnings to every
# target of the folders below it that the configuration added.
set(VANTREL_WARNING_OPTIONS -Wall -Wextra)
if(VANTREL_WERROR)
  list(APPEND VANTREL_WARNING_OPTIONS -Werror)
endif()

function(vantrel_apply_warnings_below dir)
  get_property(subdirs DIRECTORY "${dir}" PROPERTY SUBDIRECTORIES)
  foreach(subdir ${subdirs})
    get_property(targets DIRECTORY "${subdir}" PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target ${targets})
      get_target_property(type ${target} TYPE)
      if(NOT type STREQUAL "INTERFACE_LIBRARY" AND NOT type STREQUAL "UTILITY")
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${VANTREL_WARNING_OPTIONS}>)
      endif()
    endforeach()
    vantrel_apply_warnings_below("${subdir}")
  endforeach()
endfunction()

function(vantrel_apply_warnings)
  vantrel_apply_warnings_below("${CMAKE_SOURCE_DIR}")
endfunction()

if(VANTREL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
if(VANTREL_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()
if(VANTREL_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "VANTREL_FUZZ needs clang: configure with CC=clang CXX=clang++ (fuzz/run.sh does)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
