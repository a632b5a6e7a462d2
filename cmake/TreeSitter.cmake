# The tree-sitter runtime and the two grammars come from the npm packages pinned in
# third_party/package-lock.json (installed by `npm ci --ignore-scripts`). Their sources
# are compiled here into static libraries; none of them is committed.
set(VANTREL_NODE_MODULES "${CMAKE_SOURCE_DIR}/third_party/node_modules" CACHE PATH
    "Folder holding the installed tree-sitter npm packages")

set(_ts_lib "${VANTREL_NODE_MODULES}/tree-sitter/vendor/tree-sitter/lib")
set(_ts_tsx "${VANTREL_NODE_MODULES}/tree-sitter-typescript/tsx/src")
set(_ts_py "${VANTREL_NODE_MODULES}/tree-sitter-python/src")

foreach(_required "${_ts_lib}/src/lib.c" "${_ts_tsx}/parser.c" "${_ts_py}/parser.c")
  if(NOT EXISTS "${_required}")
    message(FATAL_ERROR "Missing ${_required}. Run ./dev bootstrap (it runs `npm ci --ignore-scripts` in third_party/).")
  endif()
endforeach()

add_library(tree_sitter_runtime STATIC "${_ts_lib}/src/lib.c")
target_include_directories(tree_sitter_runtime PUBLIC "${_ts_lib}/include" PRIVATE "${_ts_lib}/src")
target_compile_definitions(tree_sitter_runtime PRIVATE _POSIX_C_SOURCE=200112L _DEFAULT_SOURCE)
target_compile_options(tree_sitter_runtime PRIVATE -w)
set_target_properties(tree_sitter_runtime PROPERTIES POSITION_INDEPENDENT_CODE ON)

add_library(tree_sitter_tsx STATIC "${_ts_tsx}/parser.c" "${_ts_tsx}/scanner.c")
target_include_directories(tree_sitter_tsx PRIVATE "${_ts_tsx}")
target_compile_options(tree_sitter_tsx PRIVATE -w)
set_target_properties(tree_sitter_tsx PROPERTIES POSITION_INDEPENDENT_CODE ON)

add_library(tree_sitter_python STATIC "${_ts_py}/parser.c" "${_ts_py}/scanner.c")
target_include_directories(tree_sitter_python PRIVATE "${_ts_py}")
target_compile_options(tree_sitter_python PRIVATE -w)
set_target_properties(tree_sitter_python PROPERTIES POSITION_INDEPENDENT_CODE ON)
