# Warnings are errors in our own code.
add_library(vennick_warnings INTERFACE)
target_compile_options(vennick_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2
  -Wimplicit-fallthrough -Werror)
# g++ 12 finds overlaps and overruns in the library's own string concatenation where there are none. The
# sanitizers' build finds the real ones.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(vennick_warnings INTERFACE -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
endif()
