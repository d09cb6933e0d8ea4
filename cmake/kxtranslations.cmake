# Runs lupdate over the module's sources for each of its translation files.
#
#   MODE=update  brings every .ts file up to date in the source tree: new
#                strings are added as "unfinished", strings no longer used go.
#   MODE=check   changes nothing; fails when an update would change a file or
#                when a file still has an unfinished entry.
#
# LUPDATE (the program), SOURCE_DIR, TS_FILES and SOURCE_DIRS (relative to
# SOURCE_DIR, separated by commas) come from the build; WORK_DIR (check only)
# is where the copies are updated.
cmake_minimum_required(VERSION 3.16)
string(REPLACE "," ";" ts_files "${TS_FILES}")
string(REPLACE "," ";" dirs "${SOURCE_DIRS}")
# kxTranslate(context, text) is the module's QCoreApplication::translate. No
# source locations are kept, so a file changes only when its strings do.
set(options -tr-function-alias translate+=kxTranslate -locations none -no-obsolete -extensions cpp,h -silent)
set(stale "")
set(unfinished "")
foreach(ts IN LISTS ts_files)
  set(file ${SOURCE_DIR}/${ts})
  if(MODE STREQUAL "check")
    get_filename_component(name ${ts} NAME)
    configure_file(${SOURCE_DIR}/${ts} ${WORK_DIR}/${name} COPYONLY)
    set(file ${WORK_DIR}/${name})
  endif()
  execute_process(COMMAND ${LUPDATE} ${options} ${dirs} -ts ${file} WORKING_DIRECTORY ${SOURCE_DIR} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "lupdate failed on ${ts}")
  endif()
  file(READ ${SOURCE_DIR}/${ts} before)
  file(READ ${file} after)
  if(NOT before STREQUAL after)
    list(APPEND stale ${ts})
  endif()
  if(after MATCHES "type=\"unfinished\"")
    list(APPEND unfinished ${ts})
  endif()
endforeach()
string(REPLACE ";" ", " stale "${stale}")
string(REPLACE ";" ", " unfinished "${unfinished}")
if(MODE STREQUAL "check" AND (stale OR unfinished))
  message(FATAL_ERROR "strings missing from: ${stale}; untranslated entries in: ${unfinished}. Run "
    "cmake --build <build dir> --target kx_update_translations and translate every entry marked unfinished.")
endif()
if(unfinished)
  message(STATUS "translate the entries marked unfinished in: ${unfinished}")
endif()
