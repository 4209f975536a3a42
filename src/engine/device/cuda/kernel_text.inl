// The kernel of this band, as its kernel unit compiles it. The arguments are set once, at launch.
// The matrix record and the instances are the engine's; a block knows their layout by numbers (the
// engine asserts them) and needs nothing else of the two.

struct WMAT;
struct INST_t;

__constant__ GPU_PARAMS device_gp alignas(8);  ///< the host writes it before a launch

__global__ void ORVEX(unsigned int /*id*/, unsigned long* seeds, WMAT& wmat, unsigned int ring_size,
                      unsigned char islands_per_gpu, INST_t* rings, int* /*kernel_ints*/,
                      DeviceState* device_state) {
    __shared__ CUDA_SHARED<S, D> shared;
    const E* const weights = reinterpret_cast<const E*>(&wmat);
    const E* const diagonal = weights + static_cast<std::size_t>(S) * S;
    CUDA_BLOCK<S, E, D> block(shared, {.seeds = seeds,
                                       .weights = weights,
                                       .diagonal = diagonal,
                                       .model_size = reinterpret_cast<const int*>(diagonal + S),
                                       .ring_size = ring_size,
                                       .islands_per_gpu = islands_per_gpu,
                                       .rings = reinterpret_cast<unsigned char*>(rings),
                                       .device_state = device_state,
                                       .params = &device_gp});
    serve(block);
}
