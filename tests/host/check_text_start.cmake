# Fails when `quillon tree` (PROGRAM, over the description XML) loads a
# library its text subcommands do without: Qt and the browser window (they
# come with the window plugin), libzip (only zipped descriptions need it) or
# Aravis (only cameras need it).
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env LD_DEBUG=files GENICAM_CACHE_V3_4= ${PROGRAM} tree --xml ${XML}
  OUTPUT_QUIET ERROR_VARIABLE loaded RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} tree --xml ${XML} failed:\n${loaded}")
endif()
if(NOT loaded MATCHES "libgenapi")
  message(FATAL_ERROR "LD_DEBUG listed no libraries:\n${loaded}")
endif()
string(REGEX MATCHALL "file=[^ ]*(libQt6|quillon_window|libquillon|libzip|aravis|libglib)[^ ]*" unwanted "${loaded}")
if(unwanted)
  message(FATAL_ERROR "the text subcommands loaded: ${unwanted}")
endif()
