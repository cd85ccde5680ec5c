// A host that leaves in the midst of an upload. Usage: cirrus_windows_exit TOKEN FILE
// exits with 3 at the first progress, 1 when the job ends before.

#include <Cirrus/Cirrus.h>

#include <cstdlib>

int main(int count, char** arguments) {
    if (count != 3) {
        return 2;
    }
    // Its destructor runs while the process exits.
    static cirrus::ShareController controller({{arguments[2]}, "Stashly", "Left"}, arguments[1]);
    controller.upload([](const auto&) { std::exit(3); }, [](const auto&) { std::exit(1); });
    cirrus::MainQueue::run();
}
