// The few words by which one text serves the host compiler and the device compiler. What is marked
// ORVEX_HD is plain logic: it takes its values as arguments and touches no machinery of either
// side. What is marked ORVEX_BLOCK_CODE runs inside a block: on the device wherever a block is made
// of device threads, and always expanded in place there, since the private state of a thread can
// only be held in registers if nothing takes its address.
#pragma once

#ifdef __CUDACC__
#define ORVEX_HD __host__ __device__
#define ORVEX_BLOCK_CODE __device__ __forceinline__
#define ORVEX_UNROLL _Pragma("unroll")
#define ORVEX_ROLLED _Pragma("unroll 1")
#else
#define ORVEX_HD
#define ORVEX_BLOCK_CODE inline
#define ORVEX_UNROLL
#define ORVEX_ROLLED
#endif
