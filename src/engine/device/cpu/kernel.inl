// The kernel of this band on CPU threads.

inline GPU_PARAMS device_gp alignas(8);  ///< constant memory of the device

inline const CPU_KERNEL<E, D> ORVEX(S, device_gp);
inline const KERNEL_HANDLE kernel = &ORVEX;
