# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Builds the page of the viewer in a copy of its sources: cmake -DSOURCE= -DBUILD= -DPAGE= -DSTAMP=
# -DNPM= -P BuildViewer.cmake. If npm fails, the page is an empty file and there is no stamp: the
# library is then built without the page.
file(REMOVE ${STAMP})
file(COPY ${SOURCE}/ DESTINATION ${BUILD} PATTERN node_modules EXCLUDE PATTERN dist EXCLUDE)

set(ENV{PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD} 1)
foreach(arguments "ci;--no-audit;--no-fund" "run;build")
  execute_process(COMMAND ${NPM} ${arguments} WORKING_DIRECTORY ${BUILD} RESULT_VARIABLE status
                  OUTPUT_VARIABLE log ERROR_VARIABLE log)
  if(NOT status EQUAL 0)
    break()
  endif()
endforeach()

if(status EQUAL 0 AND EXISTS ${BUILD}/dist/viewer.html)
  configure_file(${BUILD}/dist/viewer.html ${PAGE} COPYONLY)
  file(TOUCH ${PAGE} ${STAMP})
else()
  message(NOTICE "The HTML viewer is left out, npm has failed:\n${log}")
  file(WRITE ${PAGE} "")
endif()
