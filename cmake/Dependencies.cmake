# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# What the library itself needs; cmake/zelvikConfig.cmake.in repeats it for installed users.
list(PREPEND CMAKE_MODULE_PATH ${PROJECT_SOURCE_DIR}/cmake)
find_package(Eigen3 3.3 REQUIRED NO_MODULE)
find_package(PNG REQUIRED)
find_package(Ode REQUIRED)
find_package(TinyXml REQUIRED)
