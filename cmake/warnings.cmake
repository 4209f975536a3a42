# The warnings that all of the project's own code is compiled with, as an interface target.
add_library(orvex_warnings INTERFACE)
target_compile_options(orvex_warnings INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor)
if(ORVEX_WERROR)
  target_compile_options(orvex_warnings INTERFACE -Werror)
endif()
