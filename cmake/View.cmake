# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# zelvik_view: recordings as pages and pictures, on the public interface of the library alone.
find_package(ZLIB REQUIRED)
find_package(nlohmann_json 3 REQUIRED)

file(GLOB ZELVIK_VIEW_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/view/*.cpp)
add_library(zelvik_view SHARED ${ZELVIK_VIEW_SOURCES})
target_link_libraries(zelvik_view PUBLIC zelvik
                                  PRIVATE PNG::PNG ZLIB::ZLIB nlohmann_json::nlohmann_json
                                          zelvik_flags)
target_compile_definitions(zelvik_view PRIVATE EIGEN_MAX_ALIGN_BYTES=16
                                               ZELVIK_VERSION="${PROJECT_VERSION}")
set_target_properties(zelvik_view PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0
                                             CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)

# The page is built by npm from a copy of viewer/, so that nothing appears beside the sources.
find_program(NODE_PROGRAM NAMES node nodejs)
find_program(NPM_PROGRAM npm)
if(NODE_PROGRAM AND NPM_PROGRAM AND EXISTS ${PROJECT_SOURCE_DIR}/viewer/package-lock.json)
  file(GLOB_RECURSE ZELVIK_VIEWER_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/viewer/src/*)
  file(GLOB ZELVIK_VIEWER_FILES CONFIGURE_DEPENDS LIST_DIRECTORIES false
       ${PROJECT_SOURCE_DIR}/viewer/*)
  set(ZELVIK_VIEWER_PAGE ${PROJECT_BINARY_DIR}/viewer.html)
  # The stamp is missing where npm has failed: the next build tries again.
  add_custom_command(
    OUTPUT ${ZELVIK_VIEWER_PAGE} ${PROJECT_BINARY_DIR}/viewer.stamp
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR}/viewer
            -DBUILD=${PROJECT_BINARY_DIR}/viewer -DPAGE=${ZELVIK_VIEWER_PAGE}
            -DSTAMP=${PROJECT_BINARY_DIR}/viewer.stamp -DNPM=${NPM_PROGRAM}
            -P ${PROJECT_SOURCE_DIR}/cmake/BuildViewer.cmake
    DEPENDS ${ZELVIK_VIEWER_SOURCES} ${ZELVIK_VIEWER_FILES}
            ${PROJECT_SOURCE_DIR}/cmake/BuildViewer.cmake
    COMMENT "Building the HTML viewer by npm"
    VERBATIM)
  add_custom_target(viewer_page DEPENDS ${ZELVIK_VIEWER_PAGE})
  add_dependencies(zelvik_view viewer_page)
  set_source_files_properties(src/view/EmbeddedPage.cpp PROPERTIES
    COMPILE_DEFINITIONS ZELVIK_VIEWER_PAGE="${ZELVIK_VIEWER_PAGE}"
    OBJECT_DEPENDS ${ZELVIK_VIEWER_PAGE})
else()
  message(STATUS "The HTML viewer is left out: no node, npm or viewer/package-lock.json "
                 "(scripts/install-dependencies.sh --viewer)")
endif()
