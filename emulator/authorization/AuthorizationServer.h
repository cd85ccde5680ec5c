#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// The client that may sign users in.
inline constexpr std::string_view clientId = "local-client.apps.googleusercontent.com";
inline constexpr std::string_view clientSecret = "local-secret";

inline constexpr std::string_view authorizationPath = "/o/oauth2/auth";
inline constexpr std::string_view tokenPath = "/token";

/// Google's authorization and token endpoints for installed applications, without the network: the
/// user, who consents to everything at once, gets a code, and a code or a refresh token gets an
/// access token. Safe from any thread.
class AuthorizationServer {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    /// `permanentToken` is valid without anybody having signed in.
    AuthorizationServer(std::string permanentToken, std::chrono::seconds tokenLifetime,
                        Clock clock = std::chrono::system_clock::now);

    /// Nullopt if the request is for none of the endpoints.
    [[nodiscard]] std::optional<Answer> answer(const Request& request);

    /// Whether this access token gives access to Drive now.
    [[nodiscard]] bool isValid(std::string_view accessToken) const;

    /// Whether users refuse from now on.
    void refuse(bool isRefusing);

    /// Withdraws every consent that was given: no refresh token and none of its access tokens is
    /// valid any more.
    void revoke();

private:
    /// What a code was given for.
    struct Consent {
        std::string redirectUri;
        std::string challenge;
    };

    [[nodiscard]] Answer authorize(const Request& request);
    [[nodiscard]] Answer giveToken(const Request& request);
    [[nodiscard]] bool redeems(const Request& form);

    const std::string permanentToken_;
    const std::chrono::seconds lifetime_;
    const Clock clock_;

    mutable std::mutex mutex_;
    bool isRefusing_ = false;
    std::map<std::string, Consent, std::less<>> codes_;
    std::string refreshToken_; ///< empty while nobody has signed in
    std::map<std::string, std::chrono::system_clock::time_point, std::less<>> accessTokens_;
};

} // namespace cirrus::emulator
