# Warnings and sanitizers, on private targets so that users of the library never inherit them.
add_library(qvr_flags INTERFACE)
target_compile_options(qvr_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion -Wshadow -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wcast-qual -Wformat=2)
# gcc 12 takes a literal joined with a string for overlapping memory (fixed in gcc 13).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(qvr_flags INTERFACE -Wno-restrict)
endif()

option(QVR_SANITIZE "AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(QVR_SANITIZE)
  set(qvr_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${qvr_sanitizers})
  add_link_options(${qvr_sanitizers})
endif()
