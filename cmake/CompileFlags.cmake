# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause

# Flags of our own targets. They are not handed to callers: public headers work without them.
add_library(zelvik_flags INTERFACE)
target_compile_options(zelvik_flags INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor
                                              -ffp-contract=fast -fno-math-errno
                                              -fno-trapping-math)
if(ZELVIK_NATIVE_FLAGS)
  target_compile_options(zelvik_flags INTERFACE -mavx2 -mfma)
else() # g++ notes how four doubles would be handed over; none leave their source
  target_compile_options(zelvik_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi>)
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
if(ZELVIK_SANITIZE_THREADS)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
  # g++ warns about every fence of the standard library: the thread sanitizer ignores fences.
  target_compile_options(zelvik_flags INTERFACE -Wno-maybe-uninitialized -Wno-tsan)
endif()
if(ZELVIK_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "ZELVIK_BUILD_FUZZERS needs clang: -DCMAKE_CXX_COMPILER=clang++")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined
                      -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
