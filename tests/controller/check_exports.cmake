# Fails unless LIBRARY defines exactly the nine entry points as dynamic symbols.
execute_process(COMMAND nm -D --defined-only ${LIBRARY} OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REGEX MATCHALL "[^ \n]+\n" names "${listing}")
list(TRANSFORM names STRIP)
list(SORT names)
set(expected CreateGenicamController CreateGenicamControllerV2 CreateGenicamControllerV3
             DeleteGenicamController DeleteGenicamControllerV2 DeleteGenicamControllerV3
             VantorCreateGenicamController VantorCreateGenicamControllerV2 VantorCreateGenicamControllerV3)
if(NOT names STREQUAL expected)
  message(FATAL_ERROR "exported: ${names}\nexpected: ${expected}")
endif()
message(STATUS "exported: ${names}")
