# ORVEX_SANITIZE="address;undefined" or "thread": everything is compiled and linked with them.
if(ORVEX_SANITIZE)
  string(REPLACE ";" "," sanitizers "${ORVEX_SANITIZE}")
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${sanitizers})
endif()
