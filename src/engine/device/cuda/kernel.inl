// The kernel of this band on GPUs, as the engine sees it: declarations of what the band's kernel
// unit defines (kernel_text.inl). The function's address names the kernel in launches and queries;
// it is not called.

void ORVEX(unsigned int id, unsigned long* seeds, WMAT& wmat, unsigned int ring_size,
           unsigned char islands_per_gpu, INST_t* rings, int* kernel_ints,
           DeviceState* device_state);

inline const KERNEL_HANDLE kernel = address_of(ORVEX);

/** Names the constant of the kernel's module in copies to it; not to be read on the host. */
const GPU_PARAMS& device_gp_symbol();
inline const GPU_PARAMS& device_gp = device_gp_symbol();
