// The kernel of this band on CPU threads: makes one block of a launch. The launch gives each block
// its index in the grid; the other arguments are the kernel's own.

inline GPU_PARAMS device_gp alignas(8);  ///< constant memory of the device

/**
 * The matrix on this device: the host's record itself, so that a matrix is in memory once, and the
 * form of its rows that the blocks read.
 */
struct DEVICE_WMAT {
    explicit DEVICE_WMAT(const WMAT& host_record) : record(host_record), rows(record.w, S) {}
    const WMAT& record;
    const CPU_ROWS<E> rows;
};

inline cudaError_t device_copy_create(DEVICE_WMAT** copy, const WMAT* record, std::size_t,
                                      cudaStream_t) {
    *copy = new DEVICE_WMAT(*record);
    return cudaSuccess;
}

inline cudaError_t device_copy_destroy(DEVICE_WMAT* copy) {
    delete copy;
    return cudaSuccess;
}

inline std::unique_ptr<BLOCK_TASK> ORVEX(int block_index, unsigned int /*id*/, unsigned long* seeds,
                                         const DEVICE_WMAT& wmat, unsigned int ring_size,
                                         unsigned char islands_per_gpu, INST_t* rings,
                                         int* /*kernel_ints*/, DeviceState* device_state) {
    const CPU_LAUNCH<E> launch = {.size = S,
                                  .seeds = seeds,
                                  .weights = wmat.record.w,
                                  .diagonal = wmat.record.diag,
                                  .rows = &wmat.rows,
                                  .model_size = wmat.record.n,
                                  .ring_size = ring_size,
                                  .islands_per_gpu = islands_per_gpu,
                                  .rings = reinterpret_cast<unsigned char*>(rings),
                                  .device_state = device_state,
                                  .params = &device_gp};
    return make_block<E, D>(block_index, launch);
}
