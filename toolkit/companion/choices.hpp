// Learns in the run which value of a setting pays: of its values those are taken more often that
// gained more for their work. Invariant: every value keeps a chance.
//
// Gains are rare events of about one size, so the rate of a value is taken to be that of a Poisson
// process, whose conjugate belief is a Gamma distribution: a rate is drawn for each value from
// Gamma(gains + some, work + some), and the value of the highest is taken (Thompson, "On the
// likelihood that one unknown probability exceeds another", Biometrika 25, 1933; Chapelle, Li, "An
// empirical evaluation of Thompson sampling", NIPS 2011). What a value of an
// ordered setting brings tells of those beside it too. Counts fade with the work that follows,
// since what pays early does not pay late.
//
// Each setting learns for itself. Tried and left: one learner for all combinations of where, how
// hot and how long (180 of them): a run ends before it knows them.
#pragma once

#include <cstddef>
#include <random>
#include <vector>

namespace orvex::toolkit {

class Choices {
  public:
    /**
     * @param values how many there are, at least 1
     * @param alike whether they are in an order in which neighbours are alike
     */
    explicit Choices(std::size_t values, bool alike = true);

    /** The number of a value. */
    std::size_t draw(std::mt19937_64& random) const;

    /**
     * Takes in what a value brought.
     *
     * @param gain not below 0, in any unit
     * @param work above 0, in any unit
     */
    void learn(std::size_t value, double gain, double work);

  private:
    struct Arm {
        double gains = 0, work = 0;
    };

    std::vector<Arm> arms_;
    bool alike_;
    Arm all_;               ///< what all plays brought
    double total_ = 0;      ///< work of all plays, which does not fade
    double gain_size_ = 0;  ///< mean of the gains above 0 of late
};

}  // namespace orvex::toolkit
