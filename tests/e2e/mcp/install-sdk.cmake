# Puts the end-to-end test and the client library it imports into DEST (in the build
# tree): the script and package files are copied every run, `npm ci` runs only when the
# lock file differs from the one the last install used (its hash in a stamp file).
# npm's cache lives in DEST too, never in the home folder.
#
#   cmake -DSOURCE=<this folder> -DDEST=<folder> -DNPM=<npm> -P install-sdk.cmake
file(MAKE_DIRECTORY "${DEST}")
foreach(name package.json package-lock.json .npmrc mcp-e2e.mjs)
  file(COPY_FILE "${SOURCE}/${name}" "${DEST}/${name}" ONLY_IF_DIFFERENT)
endforeach()

file(SHA256 "${SOURCE}/package-lock.json" lock_hash)
set(stamp "${DEST}/node_modules/.vantrel-lock-sha256")
if(EXISTS "${stamp}")
  file(READ "${stamp}" installed_hash)
  if(installed_hash STREQUAL lock_hash)
    message(STATUS "client library up to date")
    return()
  endif()
endif()

execute_process(
  COMMAND "${NPM}" ci --ignore-scripts --no-audit --no-fund --loglevel=error --cache "${DEST}/npm-cache"
  WORKING_DIRECTORY "${DEST}"
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "npm ci failed (${result})")
endif()
file(WRITE "${stamp}" "${lock_hash}")
