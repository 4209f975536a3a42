# The warnings that all of the project's own code is compiled with, as an interface target.
add_library(orvex_warnings INTERFACE)
# The device compiler reads -Werror as its own, and its host code is generated.
set(orvex_host "$<NOT:$<COMPILE_LANGUAGE:CUDA>>")
target_compile_options(orvex_warnings INTERFACE
  "$<${orvex_host}:-Wall;-Wextra;-Wshadow;-Wnon-virtual-dtor>")
# GCC 12 warns of overlapping copies inside its own std::string (its bug 105651).
target_compile_options(orvex_warnings INTERFACE
  "$<$<AND:${orvex_host},$<CXX_COMPILER_ID:GNU>>:-Wno-restrict>")
if(ORVEX_WERROR)
  target_compile_options(orvex_warnings INTERFACE "$<${orvex_host}:-Werror>")
endif()
