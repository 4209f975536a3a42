# The 150 bands: 50 sizes times 3 pairs of (matrix bits, arithmetic bits). This is the one list of
# them; the code learns it from the generated units and from the registry they fill.

set(ORVEX_BAND_SIZES 64 128 192 256 384)
foreach(size RANGE 512 4096 128)
  list(APPEND ORVEX_BAND_SIZES ${size})
endforeach()
list(APPEND ORVEX_BAND_SIZES 5120 6144 7168 8192 10240 12288 14336 16384 20480 24576 28672 32768
                             40960 49152 57344 65536)
set(ORVEX_BAND_WIDTHS 32_32 32_64 64_64)

# orvex_generate_bands(<template> <suffix> <out-variable>): writes one source per band whose name
# matches ORVEX_BANDS and returns the sources sorted by name as text, which is the order in which
# they are linked and so the order in which the bands register.
function(orvex_generate_bands template suffix out)
  set(sources "")
  foreach(size IN LISTS ORVEX_BAND_SIZES)
    foreach(widths IN LISTS ORVEX_BAND_WIDTHS)
      set(ORVEX_BAND_NAME "qb${size}_${widths}")
      if(ORVEX_BAND_NAME MATCHES "${ORVEX_BANDS}")
        string(REPLACE "_" ";" pair "${widths}")
        list(GET pair 0 ORVEX_BAND_MATRIX_BITS)
        list(GET pair 1 ORVEX_BAND_ARITH_BITS)
        set(ORVEX_BAND_SIZE "${size}")
        set(source "${CMAKE_CURRENT_BINARY_DIR}/bands/${ORVEX_BAND_NAME}${suffix}")
        configure_file("${template}" "${source}" @ONLY)
        list(APPEND sources "${source}")
      endif()
    endforeach()
  endforeach()
  if(NOT sources)
    message(FATAL_ERROR "ORVEX_BANDS='${ORVEX_BANDS}' matches no band")
  endif()
  list(SORT sources)
  set(${out} "${sources}" PARENT_SCOPE)
endfunction()
