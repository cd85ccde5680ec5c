/// A host that runs two jobs, for scripts/faults, which lets a system call of the first one fail.
/// Usage: faults_host cold|warm PORT CERTIFICATE-AUTHORITY FILE FILE FILE. "warm" runs a small job
/// before.
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Cirrus/platform/http/TestServer.h"
#include <Cirrus/Cirrus.h>

using namespace cirrus;
namespace fs = std::filesystem;

constexpr unsigned longestJob = 5; ///< seconds; the idle limit is 2
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

/// Threads, and descriptors other than connections, of which the library may keep some.
static void report(const std::string& result) {
    long descriptors = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        int domain = AF_UNSPEC;
        socklen_t length = sizeof(domain);
        getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &length);
        descriptors +=
            domain != AF_INET && fs::is_symlink("/proc/self/fd/" + std::to_string(descriptor));
    }
    std::cout << result << '\n'
              << std::distance(fs::directory_iterator("/proc/self/task"), {}) << ' ' << descriptors
              << ' ' << completions << std::endl;
}

/// Ends the process if the job does not end by itself.
static std::string share(const std::vector<fs::path>& files, const char* name) {
    std::string result;
    alarm(longestJob);
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
    std::ostringstream authority;
    authority << std::ifstream(arguments[3]).rdbuf();
    connectToTestServer(TestServer{static_cast<std::uint16_t>(std::stoi(arguments[2])),
                                   authority.str(), std::chrono::seconds(2)});
    const std::vector<fs::path> files{arguments[4], arguments[5], arguments[6]};
    if (arguments[1] == std::string_view("warm")) {
        share({files[0]}, "Zeroth");
    }
    awaitScript("ready");
    const auto first = share(files, "First");
    awaitScript("first");
    report(first);
    report(share(files, "Second"));
    return 0;
}
