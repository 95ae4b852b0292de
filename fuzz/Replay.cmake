# Runs a fuzz target once over every file of the given directories (missing ones are skipped):
#   cmake -D FUZZER=<binary> -D "INPUTS=<dir>;<dir>" -P Replay.cmake
# libFuzzer binaries execute file arguments once each and stop, as the replay driver does.
set(files)
foreach(dir IN LISTS INPUTS)
  file(GLOB found LIST_DIRECTORIES false "${dir}/*")
  list(APPEND files ${found})
endforeach()
if(NOT files)
  message(FATAL_ERROR "no inputs in ${INPUTS}")
endif()
list(SORT files)
list(LENGTH files count)
message(STATUS "replaying ${count} inputs through ${FUZZER}")
execute_process(COMMAND ${FUZZER} ${files} RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${FUZZER} failed on one of its inputs: ${result}")
endif()
