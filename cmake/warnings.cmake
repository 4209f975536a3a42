# The warnings that all of the project's own code is compiled with, as an interface target.
add_library(orvex_warnings INTERFACE)
target_compile_options(orvex_warnings INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor)
# GCC 12 warns of overlapping copies inside its own std::string (its bug 105651).
target_compile_options(orvex_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(ORVEX_WERROR)
  target_compile_options(orvex_warnings INTERFACE -Werror)
endif()
