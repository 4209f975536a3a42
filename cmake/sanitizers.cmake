# ORVEX_SANITIZE="address;undefined" or "thread": everything is compiled and linked with them.
if(ORVEX_SANITIZE)
  string(REPLACE ";" "," sanitizers "${ORVEX_SANITIZE}")
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${sanitizers})
endif()

# For code that is built far more often than its loops are waited for: programs of tests, the command-line
# caller. Under the sanitizers, whose checks take the optimiser as long again, it has none.
set(ORVEX_LITTLE_OPTIMISATION -O1)
if(ORVEX_SANITIZE)
  set(ORVEX_LITTLE_OPTIMISATION -O0)
endif()
