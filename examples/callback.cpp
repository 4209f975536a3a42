// Talking to a run: print each new best, give up after a quiet second.
#include <iostream>
#include <random>

#include <orvex/orvex.hpp>

class Watcher : public orvex::Callback {
  public:
    void callback(const std::string& event) override {
        if (event == "init") set("new");  // "new" events come only when asked for
        if (event == "new")
            std::cout << get().get("runtime") << " s  " << get().get("energy") << "\n";
        if (event == "alarm")
            set("abort");  // ends the run normally
        else
            set("alarm", "1.0");  // every event pushes the alarm back
    }
};

int main() {
    const int n = 500;
    std::mt19937 random(1);
    orvex::Model model(n, -100, 100);  // the width follows from the range of the weights
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            model.set(i, j, static_cast<long>(random() % 201) - 100);

    Watcher watcher;
    orvex::Param param;
    param.set(watcher);
    param.set("time_limit", "60");

    const orvex::Sol solution = orvex::Solver(false)(model, param);
    std::cout << "best energy " << solution.get("energy") << " after " << solution.get("tts")
              << " s, " << solution.get("total_flips") << " flips\n";
}
