#include <gtest/gtest.h>

#include "emulator/Crypto.h"
#include "emulator/authorization/AuthorizationServer.h"
#include "emulator/drive/DriveApi.h"
#include "emulator/drive/Json.h"

namespace cirrus::emulator {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

class DriveApiTest : public testing::Test {
protected:
    Answer ask(const std::string& method, const std::string& target, std::string_view body = "",
               const std::string& authorization = "Bearer token") {
        Request request{.method = method, .target = target, .body = contentOf(body)};
        request.headers.push_back({"authorization", authorization});
        readTarget(request);
        return api_.answer(request);
    }

    /// The status of the answer, with the reason or the message of its error.
    std::string post(const std::string& target, std::string_view body,
                     const std::string& member = "reason") {
        const Answer answer = ask("POST", target, body);
        const Json parsed = Json::parse(answer.body.value_or(""), nullptr, false);
        const Json::json_pointer path("/error/errors/0/" + member);
        return std::to_string(answer.status) + (parsed.is_object() ? parsed.value(path, "") : "");
    }

    std::string add(const std::string& name, std::string_view type = "text/plain") {
        return state_.addFile({.name = name, .mimeType = std::string(type)}).id;
    }

    DriveState state_;
    std::chrono::sys_seconds now_{std::chrono::seconds(1741179600)}; // 2025-03-05T13:00:00Z
    DriveApi api_{state_, [](auto token) { return token == "token"; }, [this] { return now_; }};
};

TEST_F(DriveApiTest, PermissionsFollowDrivesRules) {
    const std::string anyone = R"("role":"reader","type":"anyone")";
    const std::string until =
        R"("role":"reader","type":"user","emailAddress":"a@b.c","expirationTime":"20)";
    const Rows table{{anyone, "200"},
                     {anyone + R"(,"emailAddress":"")", "400invalidSharingRequest"},
                     {R"("role":"Reader","type":"anyone")", "400invalid"},
                     {R"("role":"reader","type":"everyone")", "400invalid"},
                     {until + R"(25-03-05T14:00:01+0100")", "200"},
                     {until + R"(25-03-05T14:00:00+01:00")", "403expirationDateInPast"},
                     {until + R"(25-03-05T08:30:00.25-05:00")", "200"},
                     {until + R"(35-02-31T00:00:00Z")", "400invalid"}};
    for (const auto& [body, expected] : table) {
        EXPECT_EQ(post("/drive/v3/files/" + add("file") + "/permissions", "{" + body + "}"),
                  expected)
            << body;
        const std::size_t granted = state_.snapshot().files.back().permissions.size();
        EXPECT_EQ(granted, expected == "200" ? 1U : 0U) << body;
    }
}

TEST_F(DriveApiTest, AFileIsCreatedFromASoundBodyInAFolder) {
    const std::string deep = R"({"a":)" + std::string(1'000'000, '[') + std::string(1'000'000, ']');
    const std::string inFile = R"({"parents":[")" + add("file") + "\"]}";
    const Rows table{{"{", "400parseError"},
                     {"[]", "400parseError"},
                     {"{\"name\":\"\xff\"}", "400parseError"},
                     {R"({"name":1})", "400parseError"},
                     {deep, "400parseError"},
                     {deep + "}", "200"},
                     {R"({"parents":["none"]})", "404notFound"},
                     {inFile, "403parentNotAFolder"}};
    for (const std::string target : {"files", "files?uploadType=resumable"}) {
        const std::string path = (target == "files" ? "/drive/v3/" : "/upload/drive/v3/") + target;
        for (const auto& [body, expected] : table) {
            EXPECT_EQ(post(path, body), expected) << path << " " << body.substr(0, 40);
        }
        EXPECT_EQ(post(path, R"({"parents":["x"]})", "message"), "404File not found: x.");
        EXPECT_EQ(post(path, inFile, "message"), "403The specified parent is not a folder.");
    }
}

TEST_F(DriveApiTest, AnAuthorizedSessionMakesOneFile) {
    const std::string opening = "/upload/drive/v3/files?uploadType=resumable";
    for (const char* wrong : {"", "token", "bearer token", "Bearer tokens"}) {
        EXPECT_EQ(ask("POST", opening, "", wrong).status, 401U) << wrong;
    }
    const std::string location = ask("POST", opening).headers.back().value;
    const std::string target = location.substr(location.find("/upload/"));
    EXPECT_EQ(ask("PUT", target + "x", "bytes").status, 404U);
    EXPECT_EQ(ask("PUT", target, "bytes").status, 200U);
    EXPECT_EQ(ask("PUT", target, "bytes").status, 404U) << "the session has ended";
    const Snapshot held = state_.snapshot();
    EXPECT_TRUE(held.files.size() == 1 && held.files[0].content.bytes() == "bytes");
}

class SignIn : public testing::Test {
protected:
    Answer ask(const std::string& method, const std::string& target, std::string_view body = "") {
        Request request{.method = method, .target = target, .body = contentOf(body)};
        readTarget(request);
        return server_.answer(request).value();
    }

    static std::string target() {
        return "/o/oauth2/auth?response_type=code&client_id=" + std::string(clientId) +
               "&redirect_uri=http%3A%2F%2F127.0.0.1%3A7%2F&code_challenge=" +
               codeChallenge("verifier") + "&code_challenge_method=S256&state=a%26b" +
               "&scope=https%3A%2F%2Fwww.googleapis.com%2Fauth%2Fdrive.file";
    }

    /// Where the browser is sent to.
    std::string authorize() { return ask("GET", target()).headers.at(0).value; }

    std::string code() {
        const auto address = authorize();
        return address.substr(address.find("code=") + 5, 33);
    }

    Json token(const std::string& form) {
        return Json::parse(*ask("POST", "/token",
                                "client_id=" + std::string(clientId) +
                                    "&client_secret=" + std::string(clientSecret) + "&" + form)
                                .body);
    }

    std::string redeem(const std::string& code, const std::string& verifier = "verifier",
                       const std::string& uri = "http://127.0.0.1:7/") {
        const auto answer = token("grant_type=authorization_code&code=" + code +
                                  "&code_verifier=" + verifier + "&redirect_uri=" + uri);
        return answer.value("refresh_token", answer.value("error", ""));
    }

    std::chrono::sys_seconds now_{std::chrono::seconds(1741179600)};
    AuthorizationServer server_{"token", std::chrono::hours(1), [this] { return now_; }};
};

TEST_F(SignIn, AsksForWhatGoogleAsks) {
    EXPECT_TRUE(authorize().starts_with("http://127.0.0.1:7/?code="));
    EXPECT_TRUE(authorize().ends_with("&state=%61%26%62"));
    for (const auto& [sound, wrong] : Rows{{"client_id=local", "client_id=other"},
                                           {"http%3A%2F%2F127", "https%3A%2F%2F127"},
                                           {"response_type=code", "response_type=token"},
                                           {"drive.file", "drive"},
                                           {"S256", "plain"},
                                           {"code_challenge=", "challenge="}}) {
        auto target = this->target();
        EXPECT_EQ(ask("GET", target.replace(target.find(sound), sound.size(), wrong)).status, 400U)
            << wrong;
    }
    server_.refuse(true);
    EXPECT_TRUE(authorize().starts_with("http://127.0.0.1:7/?error=access_denied&state="));
}

TEST_F(SignIn, GivesATokenOnceForACode) {
    EXPECT_EQ(redeem(code(), "guess"), "invalid_grant");
    EXPECT_EQ(redeem(code(), "verifier", "http://127.0.0.1:8/"), "invalid_grant");
    const auto given = code();
    EXPECT_EQ(redeem(given).size(), 33U);
    EXPECT_EQ(redeem(given), "invalid_grant");
}

TEST_F(SignIn, RefreshesUntilItIsRevoked) {
    const auto refreshing = "grant_type=refresh_token&refresh_token=" + redeem(code());
    const auto access = token(refreshing).value("access_token", "");
    EXPECT_TRUE(server_.isValid(access) && server_.isValid("token"));
    now_ += std::chrono::hours(1);
    EXPECT_TRUE(!server_.isValid(access) && server_.isValid("token"));
    EXPECT_TRUE(server_.isValid(token(refreshing).value("access_token", "")));
    server_.revoke();
    EXPECT_EQ(token(refreshing).value("error", ""), "invalid_grant");
    EXPECT_EQ(token("grant_type=refresh_token&refresh_token=").value("error", ""), "invalid_grant");
}

} // namespace
} // namespace cirrus::emulator
