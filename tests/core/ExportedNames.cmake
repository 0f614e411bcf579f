# Fails when the shared library exports a C++ function at global scope (not a
# class member, not in a namespace) whose name is missing from the allowed
# list: such a symbol would interpose with, or be interposed by, a host
# function of the same name. Global names mangle as _Z<length><name>...;
# operators, members and namespaced names mangle otherwise and are skipped,
# as are the runtime's own symbols that sanitizer or coverage builds add.
#   cmake -DLIB=libchartcalc.so -DALLOWED=exported-names.txt -P ExportedNames.cmake
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND nm -D --defined-only ${LIB} OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIB}")
endif()
file(STRINGS ${ALLOWED} allowed REGEX "^[^#]")
string(REPLACE "\n" ";" lines "${symbols}")
set(unexpected)
foreach(line IN LISTS lines)
  if(NOT line MATCHES " _Z([0-9]+)([A-Za-z_].*)$")
    continue()
  endif()
  string(SUBSTRING "${CMAKE_MATCH_2}" 0 ${CMAKE_MATCH_1} name)
  if(NOT name IN_LIST allowed)
    list(APPEND unexpected ${name})
  endif()
endforeach()
if(unexpected)
  list(REMOVE_DUPLICATES unexpected)
  message(FATAL_ERROR "global symbols outside the documented API: ${unexpected}")
endif()
