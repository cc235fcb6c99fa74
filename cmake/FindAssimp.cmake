# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Assimp::Assimp: reading of meshes.
include(${CMAKE_CURRENT_LIST_DIR}/PlainLibrary.cmake)
zelvik_find_plain_library(Assimp assimp/Importer.hpp assimp)
