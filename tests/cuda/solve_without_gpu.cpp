// A solve where no GPU is to be seen ends the process with status 1 and says why. Run with no
// device visible, so that it holds on any machine.
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <orvex/orvex.hpp>

namespace {

[[noreturn]] void solve() {
    orvex::Model model(8, 32);
    model.set(0, 0, -1L);
    orvex::Param param;
    param.set("time_limit", "1");
    const orvex::Solver solver(false);
    solver(model, param);
    _exit(0);
}

}  // namespace

int main() {
    int ends[2];
    if (pipe(ends) != 0) return 2;
    const pid_t child = fork();
    if (child < 0) return 2;
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        solve();
    }
    close(ends[1]);
    std::string said;
    char buffer[256];
    for (ssize_t n; (n = read(ends[0], buffer, sizeof(buffer))) > 0;)
        said.append(buffer, static_cast<std::size_t>(n));
    int status = 0;
    waitpid(child, &status, 0);

    const bool as_expected =
        WIFEXITED(status) && WEXITSTATUS(status) == 1 && said == "Error: No GPU found.\n";
    if (!as_expected)
        std::printf("status %d, standard error:\n%s", WEXITSTATUS(status), said.c_str());
    return as_expected ? 0 : 1;
}
