// The kernel of this band on CPU threads: makes one block of a launch. The launch gives each block
// its index in the grid; the other arguments are the kernel's own.

inline GPU_PARAMS device_gp alignas(8);  ///< constant memory of the device

inline std::unique_ptr<BLOCK_TASK> ORVEX(int block_index, unsigned int /*id*/, unsigned long* seeds,
                                         WMAT& wmat, unsigned int ring_size,
                                         unsigned char islands_per_gpu, INST_t* rings,
                                         int* /*kernel_ints*/, DeviceState* device_state) {
    const CPU_LAUNCH<E> launch = {.size = S,
                                  .seeds = seeds,
                                  .weights = wmat.w,
                                  .diagonal = wmat.diag,
                                  .model_size = wmat.n,
                                  .ring_size = ring_size,
                                  .islands_per_gpu = islands_per_gpu,
                                  .rings = reinterpret_cast<unsigned char*>(rings),
                                  .device_state = device_state,
                                  .params = &device_gp};
    return std::make_unique<CPU_BLOCK<E, D>>(block_index, launch);
}
