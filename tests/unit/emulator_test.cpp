#include <gtest/gtest.h>

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
        return state_.addFile({name, std::string(type)}, contentOf("12345"))->id;
    }

    DriveState state_;
    std::chrono::sys_seconds now_{std::chrono::seconds(1741179600)}; // 2025-03-05T13:00:00Z
    DriveApi api_{state_, "token", [this] { return now_; }};
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

} // namespace
} // namespace cirrus::emulator
