# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# ODE and TinyXML ship no CMake package in the distributions: wrap them as interface targets.
find_package(Eigen3 3.3 REQUIRED NO_MODULE)
find_package(PNG REQUIRED)

function(zelvik_wrap_library target header library)
  find_path(${target}_INCLUDE ${header} REQUIRED)
  find_library(${target}_LIBRARY ${library} REQUIRED)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${${target}_INCLUDE})
  target_link_libraries(${target} INTERFACE ${${target}_LIBRARY})
endfunction()

zelvik_wrap_library(ZelvikOde ode/ode.h ode)
zelvik_wrap_library(ZelvikTinyXml tinyxml.h tinyxml)
