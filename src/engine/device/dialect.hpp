// The few words by which one text serves the host compiler and the device compiler. What is marked
// ORVEX_HD is plain logic: it takes its values as arguments and touches no machinery of either
// side.
#pragma once

#ifdef __CUDACC__
#define ORVEX_HD __host__ __device__
#else
#define ORVEX_HD
#endif
