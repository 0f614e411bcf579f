# Fails when the shared library exports a global (not class-member, not
# namespaced) symbol missing from the allowed list: such a symbol would
# interpose with, or be interposed by, a host function of the same name.
#   cmake -DLIB=libchartcalc.so -DALLOWED=exported-names.txt -P ExportedNames.cmake
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND nm -DC --defined-only ${LIB} OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIB}")
endif()
file(STRINGS ${ALLOWED} allowed REGEX "^[^#]")
string(REPLACE "\n" ";" lines "${symbols}")
set(unexpected)
foreach(line IN LISTS lines)
  # "address type name(args)"; keep the name up to its argument list.
  if(NOT line MATCHES "^[0-9a-f]+ [TWDBR] ([^(]+)")
    continue()
  endif()
  set(name ${CMAKE_MATCH_1})
  if(name MATCHES "::|^_|^(typeinfo|vtable|VTT|guard variable|construction vtable|void std)")
    continue()
  endif()
  if(NOT name IN_LIST allowed)
    list(APPEND unexpected ${name})
  endif()
endforeach()
if(unexpected)
  list(REMOVE_DUPLICATES unexpected)
  message(FATAL_ERROR "global symbols outside the documented API: ${unexpected}")
endif()
