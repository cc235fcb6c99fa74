# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# `cpack -G DEB`: one package with the shared library, named after its SONAME so that two of them
# can be installed at once, and one for developers. A static build makes the second one only.
set(zelvik_runtime_package libzelvik${ZELVIK_ABI_VERSION})
set(CPACK_PACKAGE_NAME zelvik)
set(CPACK_PACKAGE_CONTACT "the zelvik authors <zelvik@example.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}: shared library")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${zelvik_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION}: headers and models")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzelvik-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libode-dev, libtinyxml-dev, libeigen3-dev")
if(BUILD_SHARED_LIBS)
  list(PREPEND CPACK_COMPONENTS_ALL runtime)
  string(PREPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
         "${zelvik_runtime_package} (= ${PROJECT_VERSION}), ")
else()
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libpng-dev, zlib1g-dev, libassimp-dev, libqhull-dev")
endif()
include(CPack)
