/// A host that runs two jobs, for scripts/faults, which lets a system call of the first one fail.
/// Usage: faults_host cold|warm PORT CERTIFICATE-AUTHORITY FILE FILE FILE. "warm" runs a small job
/// before.
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>

#include "Cirrus/platform/http/TestServer.h"
#include <Cirrus/Cirrus.h>

using namespace cirrus;
namespace fs = std::filesystem;

static int completions = 0;

/// What the script has to say comes as a signal: no call that could be made to fail.
static void awaitScript(const char* state) {
    sigset_t go;
    sigemptyset(&go);
    sigaddset(&go, SIGUSR1);
    sigprocmask(SIG_BLOCK, &go, nullptr);
    fs::create_directory(state);
    int received = 0;
    sigwait(&go, &received);
}

/// Ends the process if the job does not end by itself.
static std::string share(const std::vector<fs::path>& files, const char* name) {
    std::string result;
    alarm(5); // the idle limit is 2
    ShareController controller({files, "Root", name}, "token");
    controller.upload({}, [&result](const auto& outcome) {
        ++completions;
        result = outcome ? "shared" : "failed: " + outcome.error().diagnosticText();
        MainQueue::stop();
    });
    MainQueue::run();
    alarm(0);
    return result;
}

int main(int, char** arguments) {
    std::ifstream authority(arguments[3]);
    connectToTestServer(TestServer{static_cast<std::uint16_t>(std::stoi(arguments[2])),
                                   std::string(std::istreambuf_iterator(authority), {}),
                                   std::chrono::seconds(2)});
    const std::vector<fs::path> files(arguments + 4, arguments + 7);
    if (arguments[1] == std::string_view("warm")) {
        share({files[0]}, "Zeroth");
    }
    awaitScript("ready");
    const auto first = share(files, "First");
    awaitScript("first");
    std::cout << first << std::endl;
    std::cout << share(files, "Second") << '\n' << completions << std::endl;
    awaitScript("second");
    return 0;
}
