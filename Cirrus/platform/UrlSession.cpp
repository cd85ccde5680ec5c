#include "Cirrus/platform/UrlSession.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "Cirrus/platform/CurlEngine.h"
#include "Cirrus/platform/LibraryThread.h"
#include "Cirrus/platform/LoopbackPeer.h"
#include "Cirrus/platform/SerialQueue.h"
#include "Cirrus/platform/TransportError.h"
#include "Cirrus/platform/UrlBuilder.h"

namespace cirrus {

namespace {

char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool hasControlCharacter(std::string_view text) {
    return std::ranges::any_of(text, [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
}

/// Why a request must not be sent at all. The texts name no value: a token may be among them.
std::optional<std::string> refusal(const UrlRequest& request) {
    if (!UrlBuilder::isHttps(request.url)) {
        return "The URL is not an absolute HTTPS URL";
    }
    const auto isUnsafe = [](const auto& field) {
        return hasControlCharacter(field.first) || hasControlCharacter(field.second);
    };
    if (std::ranges::any_of(request.headers, isUnsafe)) {
        return "A header field holds a control character";
    }
    return std::nullopt;
}

} // namespace

/// The threads behind the shared session.
class UrlSession::Threads {
public:
    void start(std::unique_ptr<Transfer> transfer) {
        ++tasksOnTheirWay_;
        if (auto reason = refusal(transfer->request)) {
            deliver(std::move(transfer),
                    {.body = {},
                     .response = {},
                     .error = AnyError(TransportError{.code = 0, .text = *std::move(reason)})});
        } else {
            engine_.submit(std::move(transfer));
        }
    }

    void waitUntilIdle() const {
        for (auto count = tasksOnTheirWay_.load(); count != 0; count = tasksOnTheirWay_.load()) {
            tasksOnTheirWay_.wait(count);
        }
    }

    CurlEngine& engine() { return engine_; }

    /// Ends both threads, for good. A host may exit in any state of a job, and what libcurl and
    /// OpenSSL clean up at exit must not be pulled from under a running thread.
    void stop() {
        constexpr std::chrono::seconds patience(2);
        engine_.stop();
        network_.join(patience);
        callbacks_.stop(patience);
    }

private:
    void deliver(std::unique_ptr<Transfer> transfer, TaskOutcome outcome) {
        callbacks_.post(
            [this, transfer = std::move(transfer), outcome = std::move(outcome)]() mutable {
                transfer->request.body = {};
                if (!outcome.error) {
                    transfer->progress->finish();
                }
                transfer->completion(std::move(outcome));
                transfer.reset();
                --tasksOnTheirWay_;
                tasksOnTheirWay_.notify_all();
            });
    }

    std::atomic<std::size_t> tasksOnTheirWay_ = 0;
    SerialQueue callbacks_;
    CurlEngine engine_{[this](std::unique_ptr<Transfer> transfer, TaskOutcome outcome) {
        deliver(std::move(transfer), std::move(outcome));
    }};
    LibraryThread network_{[this] { engine_.run(); }};
};

bool HeaderNameLess::operator()(std::string_view left, std::string_view right) const {
    return std::ranges::lexicographical_compare(left, right, {}, lowerCase, lowerCase);
}

bool HeaderNameLess::areEqual(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lowerCase, lowerCase);
}

void DataTask::resume() && {
    session_.threads_.start(std::move(transfer_));
}

UrlSession& UrlSession::shared() {
    // Made with the first use and never destroyed, since tasks may still be handed in while the
    // process ends. The exit handler comes after libcurl's and so runs before it.
    static auto* const instance = [] {
        auto* threads = new Threads;
        static_cast<void>(std::atexit([] { shared().threads_.stop(); }));
        return new UrlSession(*threads);
    }();
    return *instance;
}

DataTask UrlSession::dataTask(UrlRequest request, Completion completion) {
    auto progress = Progress::create(request.body.size());
    return {*this, std::make_unique<Transfer>(Transfer{.request = std::move(request),
                                                       .progress = std::move(progress),
                                                       .completion = std::move(completion)})};
}

void UrlSession::waitUntilIdle() const {
    threads_.waitUntilIdle();
}

void UrlSession::setPeer(std::optional<LoopbackPeer> peer) {
    threads_.engine().setPeer(std::move(peer));
}

void setLoopbackPeer(std::optional<LoopbackPeer> peer) {
    UrlSession::shared().setPeer(std::move(peer));
}

} // namespace cirrus
