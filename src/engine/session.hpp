// What a prepared band keeps alive between calls, and nothing else: the matrix of the last model on
// the host and the copies on the devices. A session matches a model by its address and revision.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "orvex/model.hpp"

#include "platform/platform.hpp"

namespace orvex::engine {

struct BAND;

struct DeviceSession {
    const Model::Impl* model = nullptr;  ///< null when the session is empty
    std::uint64_t model_stamp = 0;       ///< the model's revision when it was loaded
    void* host_wmat = nullptr;           ///< page-locked
    std::vector<void*> device_wmat;      ///< per device; null where it holds no copy

    bool matches(const Model::Impl& other) const {
        return model == &other && model_stamp == other.revision;
    }

    /** Gives everything back. */
    void clear();

    bool holdsDeviceCopy(int gpu) const;

    /** The copy on a device, which the caller has from now on; null if there is none. */
    void* takeDeviceCopy(int gpu);
    void storeDeviceCopy(int gpu, void* copy);
};

/** Empties the session if it holds another model, or another revision of this one. */
void drop_stale_session(BAND& band, const Model::Impl& model);

/** The session's host matrix if it is this model's, else null. */
void* session_matrix(BAND& band, const Model::Impl& model);

/** Marks the session as this model's and hands it the host matrix, unless that is null. */
void store_session(BAND& band, const Model::Impl& model, void* host_wmat);

/** A matrix record in page-locked memory, with all of the model that device copies do not fill in.
 */
void* load_matrix(const BAND& band, const Model::Impl& model);

/** What a device reads of a host matrix and of the model that it is the matrix of. */
void* make_device_copy(const BAND& band, void* host_wmat, const Model::Impl& model,
                       platform::cudaStream_t stream);

}  // namespace orvex::engine
