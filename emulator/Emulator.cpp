#include <Cirrus/emulator/Emulator.h>

#include <mutex>
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

class Emulator::Running final : public ServerDelegate {
public:
    Running(const Options& options, std::string accessToken, std::string authority)
        : token(std::move(accessToken)),
          certificateAuthority(std::move(authority)),
          contents_(options.contents),
          rate_(options.rate),
          authorization(token, options.tokenLifetime),
          api_(state, [this](auto given) { return authorization.isValid(given); }) {}

    void connectionAccepted() override {
        state.record([](Snapshot& seen) {
            ++seen.connectionsAccepted;
            ++seen.connectionsOpen;
        });
    }

    void protocolsOffered(std::string protocols) override {
        state.record([&](Snapshot& seen) { seen.protocolsOffered = std::move(protocols); });
    }

    void connectionClosed() override {
        state.record([](Snapshot& seen) { --seen.connectionsOpen; });
    }

    std::optional<Answer> answerToHead(const Request& head) override { return headHook(head); }

    ContentPolicy bodyPolicy(const Request& head) override {
        return isContentUpload(head) ? contents_ : ContentPolicy::keep;
    }

    std::chrono::milliseconds bodyBytesRead(std::uint64_t size) override {
        state.record([&](Snapshot& seen) { seen.bodyBytesReceived += size; });
        return std::chrono::milliseconds(rate_ > 0 ? 1000 * size / rate_ : 0);
    }

    std::size_t requestRead(const Request& request) override {
        std::size_t index = 0;
        state.record([&](Snapshot& seen) {
            index = seen.requests.size();
            seen.requests.push_back({request, std::nullopt});
        });
        return index;
    }

    Answer answer(const Request& request) override {
        std::optional<Answer> hooked = hook(request);
        if (!hooked) {
            hooked = authorization.answer(request);
        }
        return hooked ? std::move(*hooked) : api_.answer(request);
    }

    void answering(std::size_t index, unsigned status) override {
        state.record([&](Snapshot& seen) { seen.requests[index].status = status; });
    }

    const std::string token;
    const std::string certificateAuthority;
    DriveState state;
    HookSlot hook;
    HookSlot headHook;

private:
    ContentPolicy contents_;
    std::uint64_t rate_;

public:
    AuthorizationServer authorization;

private:
    DriveApi api_;

public:
    std::unique_ptr<HttpsServer> server; // last: destroyed before what its threads use
};

std::expected<std::unique_ptr<Emulator>, EmulatorError> Emulator::start(Options options) {
    std::vector<std::string> hosts{"www.googleapis.com", "localhost"};
    hosts.insert(hosts.end(), options.certificateHosts.begin(), options.certificateHosts.end());
    const auto identity = makeServerIdentity(hosts);
    if (!identity) {
        return std::unexpected(identity.error());
    }
    std::string token = options.accessToken ? std::move(*options.accessToken) : randomIdentifier();
    auto running = std::make_unique<Running>(options, std::move(token), identity->authority);
    auto server = HttpsServer::start(options.port, options.rate > 0, *identity, *running);
    if (!server) {
        return std::unexpected(server.error());
    }
    running->server = std::move(*server);
    return std::unique_ptr<Emulator>(new Emulator(std::move(running)));
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
    return running_->certificateAuthority;
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
