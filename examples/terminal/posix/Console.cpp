#include "../Console.h"

#include <Cirrus/MainQueue.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace {

/// Sent by the program to itself, to end the thread that waits for the others.
constexpr int endSignal = SIGUSR1;

std::atomic<bool> isInterrupted = false;
std::thread waiting;

} // namespace

std::vector<std::string> utf8Arguments(int count, char** values) {
    return {values + 1, values + count};
}

std::filesystem::path toPath(const std::string& text) {
    return text;
}

std::string toText(const std::filesystem::path& path) {
    return path.native();
}

bool isReadableFile(const std::filesystem::path& path) {
    std::error_code failure;
    return std::filesystem::is_regular_file(path, failure) && ::access(path.c_str(), R_OK) == 0;
}

std::tm localTime(std::time_t time) {
    std::tm local{};
    (void)::localtime_r(&time, &local);
    return local;
}

void prepareTerminal() {}

std::size_t columns() {
    winsize size{};
    if (::isatty(STDERR_FILENO) != 1) {
        return 0;
    }
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

Interrupt::Interrupt() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, endSignal);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction action{};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            ::sigaddset(&signals, signal);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    waiting = std::thread([signals] {
        int signal = 0;
        if (::sigwait(&signals, &signal) == 0 && signal != endSignal) {
            isInterrupted = true;
            cirrus::MainQueue::stop();
        }
    });
}

Interrupt::~Interrupt() {
    ::pthread_kill(waiting.native_handle(), endSignal);
    waiting.join();
}

bool Interrupt::runMainQueue() {
    cirrus::MainQueue::run();
    return !isInterrupted;
}
