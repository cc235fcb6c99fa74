# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# zelvik_model: robots as they are published, on the public interface of the library alone.
find_package(Assimp REQUIRED)
find_package(Qhull REQUIRED)
find_package(nlohmann_json 3 REQUIRED)
find_path(XXHASH_INCLUDE_DIR xxhash.h REQUIRED) # used as a header alone

file(GLOB ZELVIK_IMPORT_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/import/*.cpp)
add_library(zelvik_model ${ZELVIK_IMPORT_SOURCES})
add_library(zelvik::zelvik_model ALIAS zelvik_model)
target_include_directories(zelvik_model SYSTEM PRIVATE ${XXHASH_INCLUDE_DIR})
target_link_libraries(zelvik_model PUBLIC zelvik
                      PRIVATE Assimp::Assimp Qhull::Qhull
                              $<BUILD_INTERFACE:nlohmann_json::nlohmann_json>
                              $<BUILD_INTERFACE:zelvik_flags>)
target_compile_definitions(zelvik_model PRIVATE EIGEN_MAX_ALIGN_BYTES=16)
set_target_properties(zelvik_model PROPERTIES VERSION ${PROJECT_VERSION}
                                              SOVERSION ${ZELVIK_ABI_VERSION}
                                              POSITION_INDEPENDENT_CODE ON
                                              DEFINE_SYMBOL ""
                                              CXX_VISIBILITY_PRESET hidden
                                              VISIBILITY_INLINES_HIDDEN ON)
