#include <Cirrus/emulator/Emulator.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "emulator/Crypto.h"
#include "emulator/authorization/AuthorizationServer.h"
#include "emulator/drive/DriveApi.h"
#include "emulator/drive/DriveError.h"
#include "emulator/drive/Json.h"
#include "emulator/http/HttpsServer.h"

namespace cirrus::emulator {

namespace {

/// A hook that can be replaced while it runs.
class HookSlot {
public:
    void set(RequestHook hook) {
        auto next = std::make_shared<const RequestHook>(std::move(hook));
        const std::scoped_lock lock(mutex_);
        hook_.swap(next);
    }

    [[nodiscard]] std::optional<Answer> operator()(const Request& request) const {
        std::unique_lock lock(mutex_);
        const std::shared_ptr<const RequestHook> hook = hook_;
        lock.unlock();
        return hook && *hook ? (*hook)(request) : std::nullopt;
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const RequestHook> hook_;
};

} // namespace

struct Emulator::Running final : ServerDelegate {
    explicit Running(Options given)
        : options(std::move(given)),
          token(options.accessToken.value_or(randomIdentifier())),
          authorization(token, options.tokenLifetime) {
        options.certificateHosts.insert(options.certificateHosts.end(),
                                        {"www.googleapis.com", "localhost"});
        server = std::make_unique<HttpsServer>(options.port, options.certificateHosts, options.rate,
                                               *this);
    }

    void record(const std::function<void(Snapshot&)>& event) override { state.record(event); }

    std::optional<Answer> answerToHead(const Request& head) override { return headHook(head); }

    ContentPolicy bodyPolicy(const Request& head) override {
        return isContentUpload(head) ? options.contents : ContentPolicy::keep;
    }

    Answer answer(const Request& request) override {
        std::optional<Answer> hooked = hook(request);
        if (!hooked) {
            hooked = authorization.answer(request);
        }
        return hooked ? std::move(*hooked) : api.answer(request);
    }

    Options options;
    const std::string token;
    DriveState state;
    HookSlot hook;
    HookSlot headHook;
    AuthorizationServer authorization;
    DriveApi api{state, [this](auto given) { return authorization.isValid(given); }};
    std::unique_ptr<HttpsServer> server; // last: destroyed before what its threads use
};

std::expected<std::unique_ptr<Emulator>, EmulatorError> Emulator::start(Options options) {
    try {
        auto running = std::make_unique<Running>(std::move(options));
        return std::unique_ptr<Emulator>(new Emulator(std::move(running)));
    } catch (const boost::system::system_error& error) {
        return std::unexpected(EmulatorError{"cannot serve: " + error.code().message()});
    } catch (const std::runtime_error& error) {
        return std::unexpected(EmulatorError{error.what()});
    }
}

Emulator::Emulator(std::unique_ptr<Running> running) : running_(std::move(running)) {}

Emulator::~Emulator() = default;

std::uint16_t Emulator::port() const {
    return running_->server->port();
}

const std::string& Emulator::accessToken() const {
    return running_->token;
}

const std::string& Emulator::certificateAuthority() const {
    return running_->server->authority();
}

std::string Emulator::clientFile() const {
    const auto address = [origin = "https://127.0.0.1:" + std::to_string(port())](auto path) {
        return origin + std::string(path);
    };
    return Json{{"installed",
                 {{"client_id", clientId},
                  {"client_secret", clientSecret},
                  {"auth_uri", address(authorizationPath)},
                  {"token_uri", address(tokenPath)},
                  {"redirect_uris", {"http://localhost"}}}}}
        .dump();
}

void Emulator::refuseSignIn(bool isRefusing) {
    running_->authorization.refuse(isRefusing);
}

void Emulator::revokeSignIn() {
    running_->authorization.revoke();
}

Snapshot Emulator::snapshot() const {
    return running_->state.snapshot();
}

bool Emulator::waitUntil(std::chrono::milliseconds limit,
                         const std::function<bool(const Snapshot&)>& predicate) const {
    return running_->state.waitUntil(limit, predicate);
}

void Emulator::setHook(RequestHook hook) {
    running_->hook.set(std::move(hook));
}

void Emulator::setHeadHook(RequestHook hook) {
    running_->headHook.set(std::move(hook));
}

std::optional<std::string> Emulator::addFolder(std::string name, std::string parentId) {
    DriveFile folder{.name = std::move(name), .mimeType = std::string(folderMimeType)};
    if (!parentId.empty()) {
        folder.parents.push_back(std::move(parentId));
    }
    try {
        return running_->state.addFile(std::move(folder)).id;
    } catch (const DriveError&) {
        return std::nullopt;
    }
}

bool Emulator::trash(std::string_view id) {
    try {
        running_->state.trash(id);
        return true;
    } catch (const DriveError&) {
        return false;
    }
}

} // namespace cirrus::emulator
