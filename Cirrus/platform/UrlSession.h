#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Cirrus/platform/Data.h"
#include "Cirrus/platform/Error.h"
#include "Cirrus/platform/HeaderFields.h"
#include "Cirrus/platform/LoopbackPeer.h"
#include "Cirrus/platform/Progress.h"
#include "Cirrus/platform/Url.h"

namespace cirrus {

struct UrlRequest {
    Url url;
    std::string method;
    HeaderFields headers;
    Data body;
    /// How long nothing may move, in either direction; no limit on the whole.
    std::chrono::milliseconds timeout = std::chrono::seconds(10);
};

/// Why a request must not be sent at all. The texts name no value: a token may be among them.
[[nodiscard]] std::optional<std::string> refusal(const UrlRequest& request);

struct HttpResponse {
    int statusCode = 0;
    HeaderFields headers;
};

/// What became of a task. A body is absent only when none can come with the answer (204).
struct TaskOutcome {
    std::optional<std::string> body;
    std::optional<HttpResponse> response;
    /// `ConnectionError` or `TransportError`.
    std::optional<AnyError> error;
};

/// One exchange on its way to and through the session, and what became of it.
struct Transfer {
    UrlRequest request;
    /// Null when nobody asked for it before the exchange started.
    std::shared_ptr<Progress> progress;
    std::move_only_function<void(TaskOutcome)> completion;
    TaskOutcome outcome;
};

class UrlSession;

/// An exchange that has not started yet.
class DataTask {
public:
    /// The bytes of the body sent over its length. Its observers are called on the session's own
    /// threads. It is finished once the exchange has succeeded, before the completion runs.
    [[nodiscard]] const std::shared_ptr<Progress>& progress();

    /// Starts the exchange and returns at once. It can not be stopped any more.
    void resume() &&;

private:
    friend class UrlSession;

    DataTask(UrlSession& session, std::unique_ptr<Transfer> transfer)
        : session_(session), transfer_(std::move(transfer)) {}

    UrlSession& session_;
    std::unique_ptr<Transfer> transfer_;
};

/// The HTTP client of the process, on two threads that start with the first task: the callback
/// thread runs all completions, one after another, and carries the transfers while it has nothing
/// else to do; the network thread carries them otherwise, so that none waits for a completion.
/// HTTPS only, HTTP/1.1 on connections that are kept alive; no cache, no cookies, no redirects,
/// nothing ever sent twice. Ends by itself, silently, when the process exits.
class UrlSession {
public:
    using Completion = std::move_only_function<void(TaskOutcome)>;

    static UrlSession& shared();

    /// `completion` is called once, on the callback thread, after the body has been let go.
    [[nodiscard]] DataTask dataTask(UrlRequest&& request, Completion&& completion);

    /// Waits until no task is on its way and no completion runs. For tests and benchmarks; not on
    /// the callback thread.
    void waitUntilIdle() const;

    /// See `setLoopbackPeer`.
    void setPeer(std::optional<LoopbackPeer> peer);

private:
    friend class DataTask;
    class Threads;

    explicit UrlSession(Threads& threads) : threads_(threads) {}

    Threads& threads_;
};

} // namespace cirrus
