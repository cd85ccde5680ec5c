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

bool hasControlCharacter(std::string_view text) {
    return std::ranges::any_of(text, [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
}

} // namespace

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

/// The threads behind the shared session.
class UrlSession::Threads {
public:
    void start(std::unique_ptr<Transfer> transfer) {
        ++tasksOnTheirWay_;
        using enum Inbox::Next;
        engine_.submit(std::move(transfer),
                       callbacks_.isCurrent() ? takesTurnOrCallsStandby : anything);
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
    /// On the callback thread.
    void complete(std::unique_ptr<Transfer> transfer) {
        transfer->request.body = {};
        if (transfer->progress && !transfer->outcome.error) {
            transfer->progress->finish();
        }
        transfer->completion(std::move(transfer->outcome));
        transfer.reset();
        --tasksOnTheirWay_;
        tasksOnTheirWay_.notify_all();
    }

    void completeLater(std::unique_ptr<Transfer> transfer) {
        callbacks_.post(
            [this, transfer = std::move(transfer)]() mutable { complete(std::move(transfer)); });
    }

    /// With nothing else to do, the callback thread drives the engine itself: what a completion has
    /// just asked for then begins, ends and is completed without a change of threads. Transfers
    /// never wait for a completion, though: then they are the network thread's.
    void afterCompletion() {
        CurlEngine::Transfers ended;
        while (callbacks_.isEmpty()) {
            engine_.help(ended);
            if (ended.size() != 1) {
                std::ranges::for_each(ended, [this](auto& one) { completeLater(std::move(one)); });
                return;
            }
            complete(std::move(ended.front()));
        }
        engine_.callStandby();
    }

    std::atomic<std::size_t> tasksOnTheirWay_ = 0;
    CurlEngine engine_;
    SerialQueue callbacks_{[this] { afterCompletion(); }};
    LibraryThread network_{
        [this] { engine_.run([this](auto ended) { completeLater(std::move(ended)); }); }};
};

const std::shared_ptr<Progress>& DataTask::progress() {
    if (!transfer_->progress) {
        transfer_->progress = Progress::create(transfer_->request.body.size());
    }
    return transfer_->progress;
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

DataTask UrlSession::dataTask(UrlRequest&& request, Completion&& completion) {
    return {*this, std::make_unique<Transfer>(Transfer{.request = std::move(request),
                                                       .progress = {},
                                                       .completion = std::move(completion),
                                                       .outcome = {}})};
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
