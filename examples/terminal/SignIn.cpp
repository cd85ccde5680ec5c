#include "SignIn.h"

#include <CLI/CLI.hpp>
#include <curl/curl.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <openssl/evp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <expected>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <sstream>

#include "Terminal.h"

namespace {

using Json = nlohmann::json;
using Parameters = std::map<std::string, std::string>;
template <class Value>
using Result = std::expected<Value, std::string>;

constexpr auto scope = "https://www.googleapis.com/auth/drive.file";

std::string unguessable() {
    std::random_device source;
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (int count = 0; count < 8; ++count) {
        text << std::setw(8) << source();
    }
    return text.str();
}

/// What PKCE calls the S256 challenge.
std::string challengeOf(const std::string& verifier) {
    std::array<unsigned char, 32> digest{};
    EVP_Digest(verifier.data(), verifier.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    std::array<unsigned char, 45> text{};
    EVP_EncodeBlock(text.data(), digest.data(), digest.size());
    std::string challenge(reinterpret_cast<const char*>(text.data()), 43);
    std::ranges::replace(challenge, '+', '-');
    std::ranges::replace(challenge, '/', '_');
    return challenge;
}

std::string encoded(const Parameters& parameters) {
    std::string text;
    for (const auto& [name, value] : parameters) {
        const std::unique_ptr<char, decltype(&curl_free)> escaped(
            curl_easy_escape(nullptr, value.c_str(), static_cast<int>(value.size())), curl_free);
        text.append(text.empty() ? "" : "&").append(name).append("=").append(escaped.get());
    }
    return text;
}

Parameters decoded(std::string_view text) {
    Parameters parameters;
    while (!text.empty()) {
        const auto item = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(item.size() + 1, text.size()));
        const auto equals = std::min(item.find('='), item.size());
        const std::string value(item.substr(std::min(equals + 1, item.size())));
        const std::unique_ptr<char, decltype(&curl_free)> plain(
            curl_easy_unescape(nullptr, value.c_str(), static_cast<int>(value.size()), nullptr),
            curl_free);
        parameters.emplace(item.substr(0, equals), plain.get());
    }
    return parameters;
}

/// Where the browser comes back to: a port of this machine.
class Redirection {
public:
    Redirection() : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(socket_, generic, length) == 0 && ::listen(socket_, SOMAXCONN) == 0 &&
            ::getsockname(socket_, generic, &length) == 0) {
            port_ = ntohs(address.sin_port);
        }
    }

    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

    ~Redirection() { ::close(socket_); }

    [[nodiscard]] std::string address() const {
        return "http://127.0.0.1:" + std::to_string(port_) + "/";
    }

    /// Waits for the next visitor; what it brings along, or nullopt if the system has no port to
    /// wait at.
    [[nodiscard]] std::optional<Parameters> wait() const {
        const int browser = ::accept(socket_, nullptr, nullptr);
        if (browser < 0) {
            return std::nullopt;
        }
        // Browsers open connections ahead that they may never use.
        const timeval limit{.tv_sec = 2, .tv_usec = 0};
        ::setsockopt(browser, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        std::string head;
        std::array<char, 4096> block{};
        while (head.find("\r\n") == std::string::npos && head.size() < 64UL * 1024) {
            const auto count = ::recv(browser, block.data(), block.size(), 0);
            if (count <= 0) {
                break;
            }
            head.append(block.data(), static_cast<std::size_t>(count));
        }
        constexpr std::string_view page =
            "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n"
            "You can close this page. The terminal says whether you are signed in.\n";
        static_cast<void>(::send(browser, page.data(), page.size(), MSG_NOSIGNAL));
        ::close(browser);
        const auto target = head.substr(0, head.find(" HTTP/"));
        const auto mark = target.find('?');
        return mark == std::string::npos ? Parameters() : decoded(target.substr(mark + 1));
    }

private:
    const int socket_;
    int port_ = 0;
};

/// Sends a form; the answer has to be JSON. Trusts the system's authorities if none are named.
Result<Json> post(const std::string& address, const Parameters& form,
                  const std::string& authorities) {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy(curl_easy_init(),
                                                                   curl_easy_cleanup);
    const auto body = encoded(form);
    std::string answer;
    curl_easy_setopt(easy.get(), CURLOPT_URL, address.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_PROTOCOLS_STR, "https");
    if (!authorities.empty()) {
        curl_easy_setopt(easy.get(), CURLOPT_CAINFO, authorities.c_str());
    }
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(
        easy.get(), CURLOPT_WRITEFUNCTION,
        +[](const char* bytes, std::size_t, std::size_t count, std::string* to) {
            to->append(bytes, count);
            return count;
        });
    if (const auto code = curl_easy_perform(easy.get()); code != CURLE_OK) {
        return std::unexpected(curl_easy_strerror(code));
    }
    auto json = Json::parse(answer, nullptr, false);
    return json.is_object() ? Result<Json>(std::move(json))
                            : std::unexpected("an answer that is not JSON");
}

std::string textIn(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

/// An access token, good for about an hour.
Result<std::string> signIn(const Json& client, const std::string& authorities) {
    const Redirection redirection;
    const auto state = unguessable();
    const auto verifier = unguessable();
    const Parameters question{{"client_id", textIn(client, "client_id")},
                              {"redirect_uri", redirection.address()},
                              {"response_type", "code"},
                              {"scope", scope},
                              {"state", state},
                              {"code_challenge", challengeOf(verifier)},
                              {"code_challenge_method", "S256"}};
    std::cerr << "Open this address in your web browser:\n" + textIn(client, "auth_uri") + "?" +
                     encoded(question) + "\n";
    // Something else may knock at the port, a request for an icon for example.
    std::optional<Parameters> answer;
    do {
        answer = redirection.wait();
        if (!answer) {
            return std::unexpected("no port to which the browser could come back");
        }
    } while ((*answer)["state"] != state);
    if (!answer->contains("code")) {
        return std::unexpected("Google says: " + (*answer)["error"]);
    }
    const auto token = post(textIn(client, "token_uri"),
                            {{"grant_type", "authorization_code"},
                             {"code", (*answer)["code"]},
                             {"code_verifier", verifier},
                             {"redirect_uri", redirection.address()},
                             {"client_id", textIn(client, "client_id")},
                             {"client_secret", textIn(client, "client_secret")}},
                            authorities);
    if (!token) {
        return std::unexpected(token.error());
    }
    const auto text = textIn(*token, "access_token");
    return !text.empty() ? Result<std::string>(text)
                         : std::unexpected("Google says: " + textIn(*token, "error"));
}

/// Writes a file that only its owner may read.
bool save(const std::string& token, const std::string& path) {
    ::umask(S_IRWXG | S_IRWXO);
    // A file that is there already would keep its own permissions.
    std::error_code failure;
    std::filesystem::remove(path, failure);
    return static_cast<bool>(std::ofstream(path) << token << std::flush);
}

} // namespace

int signInCommand(const std::vector<std::string>& arguments) {
    std::string clientFile;
    std::string file;
    std::string authorities;
    CLI::App app("Signs in to Google with a web browser, and prints an access token that is good "
                 "for about an hour.",
                 "cirrus-share sign-in");
    app.add_option("--client", clientFile,
                   "JSON file of a client for desktop applications, from Google's console")
        ->type_name("FILE")
        ->required();
    app.add_option("--save", file, "Write the token there instead, for its owner only")
        ->type_name("FILE");
    app.add_option("--ca-file", authorities, "Certificate authorities to trust, not the system's")
        ->type_name("FILE");
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    std::ifstream stream(clientFile);
    const auto whole = Json::parse(stream, nullptr, false);
    const auto client = whole.is_object() ? whole.value("installed", Json::object()) : Json();
    if (textIn(client, "client_id").empty()) {
        std::cerr << "cirrus-share: no client for desktop applications in " + visible(clientFile) +
                         "\n";
        return 2;
    }
    const auto token = signIn(client, authorities);
    if (!token) {
        std::cerr << "cirrus-share: " + visible(token.error()) + "\n";
        return 1;
    }
    if (file.empty() ? !(std::cout << *token << '\n' << std::flush) : !save(*token, file)) {
        std::cerr << "cirrus-share: the token could not be written\n";
        return 1;
    }
    if (!file.empty()) {
        std::cerr << "Signed in. The token is in " + visible(file) + ".\n";
    }
    return 0;
}
