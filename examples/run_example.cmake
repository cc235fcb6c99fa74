# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Called by ctest: runs PROGRAM with ARGUMENTS and looks for the regular expression LINE.
execute_process(COMMAND ${PROGRAM} ${ARGUMENTS} OUTPUT_VARIABLE output RESULT_VARIABLE status
                TIMEOUT 120)
message("${output}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "ended with status ${status}")
endif()
if(NOT output MATCHES "${LINE}")
  message(FATAL_ERROR "nothing looks like: ${LINE}")
endif()
# Messages carry date, time, file and line in brackets.
if(output MATCHES "\\[[0-9]+:[0-9]+:[0-9]+:[0-9]+:[0-9]+:[0-9]+ [A-Za-z0-9_]+\\.[ch]pp:[0-9]+\\]")
  message(FATAL_ERROR "the library had something to say: ${CMAKE_MATCH_0}")
endif()
