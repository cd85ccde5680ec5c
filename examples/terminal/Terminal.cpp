#include "Terminal.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <iostream>
#include <string>

ProgressBar::ProgressBar() : isTerminal_(::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::show(double fraction) {
    constexpr int width = 40;
    const int percent = static_cast<int>(fraction * 100);
    const int step = isTerminal_ ? percent : percent / 10 * 10;
    if (step == shown_) {
        return;
    }
    shown_ = step;
    if (isTerminal_) {
        const auto filled = static_cast<std::size_t>(fraction * width);
        std::cerr << "\r[" << std::string(filled, '#') << std::string(width - filled, '.') << "] "
                  << percent << " %" << std::flush;
    } else {
        std::cerr << step << " %\n";
    }
}

void ProgressBar::close() {
    if (isTerminal_ && shown_ >= 0) {
        std::cerr << '\n';
        shown_ = -1;
    }
}

void StderrLog::detail(const Message& message, std::string_view, std::string_view function, int,
                       const std::any&) {
    write("detail", message, function);
}

void StderrLog::notice(const Message& message, std::string_view, std::string_view function, int,
                       const std::any&) {
    write("notice", message, function);
}

void StderrLog::failure(const Message& message, std::string_view, std::string_view function, int,
                        const std::any&) {
    write("failure", message, function);
}

void StderrLog::write(std::string_view level, const Message& message, std::string_view function) {
    const auto text = message();
    const std::scoped_lock lock(mutex_);
    std::cerr << level << ' ' << function << (text.empty() ? "" : ": ") << text << '\n';
}

Interrupt::Interrupt() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC);
}

Interrupt::~Interrupt() {
    ::close(descriptor_);
}

bool Interrupt::runMainQueue() {
    std::array<pollfd, 2> awaited{{
        {.fd = cirrus::MainQueue::descriptor(), .events = POLLIN, .revents = 0},
        {.fd = descriptor_, .events = POLLIN, .revents = 0},
    }};
    ::poll(awaited.data(), awaited.size(), -1);
    if (awaited[1].revents != 0) {
        return false;
    }
    cirrus::MainQueue::drain();
    return true;
}
