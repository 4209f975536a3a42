// Learns in the run which choices pay: of the settings of a reheat, on a grid, those are tried more
// often that gained more for their work. Invariant: every setting keeps a chance.
//
// Gains are rare events of about one size, so the rate of a setting is taken to be that of a
// Poisson process, whose conjugate belief is a Gamma distribution: a rate is drawn for each setting
// from Gamma(gains + 1 / 2, work + some), and the setting of the highest is taken (Thompson, "On
// the likelihood that one unknown probability exceeds another", Biometrika 25, 1933; Chapelle, Li,
// "An empirical evaluation of Thompson sampling", NIPS 2011). What a setting brings tells of those
// beside it on the grid too. Both counts fade, since what pays early does not pay late.
#pragma once

#include <cstddef>
#include <random>
#include <vector>

namespace orvex::toolkit {

/** A choice of one value for each of three settings, by their numbers. */
struct Choice {
    std::size_t region, heat, length;
};

class Choices {
  public:
    /** @param regions, heats, lengths how many values each setting has, at least 1 */
    Choices(std::size_t regions, std::size_t heats, std::size_t lengths);

    Choice draw(std::mt19937_64& random) const;

    /**
     * Takes in what a choice brought.
     *
     * @param gain not below 0, in any unit
     * @param work above 0, in any unit
     */
    void learn(const Choice& choice, double gain, double work);

  private:
    struct Arm {
        double gains = 0, work = 0;
    };
    Arm& arm(std::size_t region, std::size_t heat, std::size_t length) {
        return arms_[(region * heats_ + heat) * lengths_ + length];
    }

    std::size_t regions_, heats_, lengths_;
    std::vector<Arm> arms_;
    Arm all_;               ///< what all plays brought
    double gain_size_ = 0;  ///< mean of the gains above 0 of late
    double work_size_ = 0;  ///< mean work of late
};

}  // namespace orvex::toolkit
