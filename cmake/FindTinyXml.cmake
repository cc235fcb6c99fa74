# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# TinyXml::TinyXml: the first TinyXML.
include(${CMAKE_CURRENT_LIST_DIR}/PlainLibrary.cmake)
zelvik_find_plain_library(TinyXml tinyxml.h tinyxml)
