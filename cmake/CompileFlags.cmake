# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Flags of our own targets. They are not handed to callers: public headers work without them.
add_library(zelvik_flags INTERFACE)
target_compile_options(zelvik_flags INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor
                                              -ffp-contract=fast -fno-math-errno
                                              -fno-trapping-math)
if(ZELVIK_NATIVE_FLAGS)
  target_compile_options(zelvik_flags INTERFACE -mavx2 -mfma)
endif()
if(ZELVIK_WARNINGS_AS_ERRORS)
  target_compile_options(zelvik_flags INTERFACE -Werror)
endif()
if(ZELVIK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  # g++ 12 sees uninitialised values in instrumented code of the standard library (std::regex).
  target_compile_options(zelvik_flags
                         INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=address,undefined)
endif()
