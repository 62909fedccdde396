# Warnings are errors in our own code.
add_library(vennick_warnings INTERFACE)
target_compile_options(vennick_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2
  -Wimplicit-fallthrough -Werror)
