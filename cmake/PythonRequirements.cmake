# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# `pip install` is run by people who have not read how the library is built: one sentence tells
# what is missing, in place of the first find_package that fails.
set(missing "")
foreach(pair ode/ode.h:libode-dev tinyxml.h:libtinyxml-dev png.h:libpng-dev
             Eigen/Core:libeigen3-dev zlib.h:zlib1g-dev nlohmann/json.hpp:nlohmann-json3-dev)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 header)
  list(GET pair 1 package)
  string(MAKE_C_IDENTIFIER ZELVIK_HEADER_${header} variable)
  find_path(${variable} ${header} PATH_SUFFIXES eigen3)
  mark_as_advanced(${variable})
  if(NOT ${variable})
    list(APPEND missing ${package})
  endif()
endforeach()
if(missing)
  list(JOIN missing " " missing)
  message(FATAL_ERROR "zelvik is compiled here and needs headers that are not installed: "
                      "sudo apt install ${missing}")
endif()
