#include "emulator/authorization/AuthorizationServer.h"

#include <utility>

#include <boost/algorithm/hex.hpp>

#include "emulator/Crypto.h"
#include "emulator/drive/Json.h"

namespace cirrus::emulator {

namespace {

constexpr std::string_view scope = "https://www.googleapis.com/auth/drive.file";

Answer refusal(std::string_view error) {
    return jsonAnswer(400, Json{{"error", error}});
}

std::string itemOf(const Request& request, std::string_view name) {
    const auto* value = request.queryItem(name);
    return value != nullptr ? *value : "";
}

/// Programs on the user's machine may be called back on any port, and there only.
bool isLoopback(std::string_view uri) {
    return uri.starts_with("http://127.0.0.1:") || uri.starts_with("http://localhost:") ||
           uri.starts_with("http://[::1]:");
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char one : text) {
        result += '%' + boost::algorithm::hex(std::string(1, one));
    }
    return result;
}

} // namespace

AuthorizationServer::AuthorizationServer(std::string permanentToken,
                                         std::chrono::seconds tokenLifetime, Clock clock)
    : permanentToken_(std::move(permanentToken)),
      lifetime_(tokenLifetime),
      clock_(std::move(clock)) {}

std::optional<Answer> AuthorizationServer::answer(const Request& request) {
    if (request.path == authorizationPath && request.method == "GET") {
        return authorize(request);
    }
    if (request.path == tokenPath && request.method == "POST") {
        return giveToken(request);
    }
    return std::nullopt;
}

bool AuthorizationServer::isValid(std::string_view accessToken) const {
    const std::scoped_lock lock(mutex_);
    const auto given = accessTokens_.find(accessToken);
    return accessToken == permanentToken_ ||
           (given != accessTokens_.end() && clock_() < given->second);
}

void AuthorizationServer::refuse(bool isRefusing) {
    const std::scoped_lock lock(mutex_);
    isRefusing_ = isRefusing;
}

void AuthorizationServer::revoke() {
    const std::scoped_lock lock(mutex_);
    refreshToken_.clear();
    accessTokens_.clear();
}

Answer AuthorizationServer::authorize(const Request& request) {
    const auto redirectUri = itemOf(request, "redirect_uri");
    const auto challenge = itemOf(request, "code_challenge");
    // In these cases Google shows its own page instead of going back to the program.
    if (itemOf(request, "client_id") != clientId || !isLoopback(redirectUri)) {
        return refusal("redirect_uri_mismatch");
    }
    if (itemOf(request, "response_type") != "code" || itemOf(request, "scope") != scope ||
        itemOf(request, "code_challenge_method") != "S256" || challenge.empty()) {
        return refusal("invalid_request");
    }
    const std::scoped_lock lock(mutex_);
    std::string outcome = "error=access_denied";
    if (!isRefusing_) {
        const auto code = randomIdentifier();
        codes_.insert_or_assign(code, Consent{.redirectUri = redirectUri, .challenge = challenge});
        outcome = "code=" + code;
    }
    const char* const joint = redirectUri.contains('?') ? "&" : "?";
    return {.status = 302,
            .headers = {{.name = "Location",
                         .value = redirectUri + joint + outcome +
                                  "&state=" + escaped(itemOf(request, "state"))}},
            .body = ""};
}

Answer AuthorizationServer::giveToken(const Request& request) {
    // A form is written as a query is.
    Request form{.target = std::string("?").append(request.body.bytes())};
    readTarget(form);
    if (itemOf(form, "client_id") != clientId || itemOf(form, "client_secret") != clientSecret) {
        return jsonAnswer(401, Json{{"error", "invalid_client"}});
    }
    const auto kind = itemOf(form, "grant_type");
    const std::scoped_lock lock(mutex_);
    const bool isRefresh = kind == "refresh_token" && !refreshToken_.empty() &&
                           itemOf(form, "refresh_token") == refreshToken_;
    if (!isRefresh && (kind != "authorization_code" || !redeems(form))) {
        return refusal("invalid_grant");
    }
    const auto accessToken = randomIdentifier();
    accessTokens_.insert_or_assign(accessToken, clock_() + lifetime_);
    Json answer{{"access_token", accessToken},
                {"expires_in", lifetime_.count()},
                {"scope", scope},
                {"token_type", "Bearer"}};
    if (!isRefresh) {
        refreshToken_ = randomIdentifier();
        answer["refresh_token"] = refreshToken_;
    }
    return jsonAnswer(200, answer);
}

/// Whether the code in there is one that was given for the same address and challenge. A code is
/// good for one attempt.
bool AuthorizationServer::redeems(const Request& form) {
    const auto consent = codes_.extract(itemOf(form, "code"));
    return !consent.empty() && consent.mapped().redirectUri == itemOf(form, "redirect_uri") &&
           consent.mapped().challenge == codeChallenge(itemOf(form, "code_verifier"));
}

} // namespace cirrus::emulator
