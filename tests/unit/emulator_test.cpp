// What other tests rely on without showing it: the emulator refuses what Drive refuses.

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

    /// The status of the answer, with the reason of its error.
    std::string post(const std::string& target, std::string_view body) {
        const Answer answer = ask("POST", target, body);
        const Json parsed = Json::parse(answer.body.value_or(""), nullptr, false);
        const Json::json_pointer path("/error/errors/0/reason");
        return std::to_string(answer.status) + (parsed.is_object() ? parsed.value(path, "") : "");
    }

    DriveState state_;
    std::chrono::sys_seconds now_{std::chrono::seconds(1741179600)}; // 2025-03-05T13:00:00Z
    DriveApi api_{state_, [](auto token) { return token == "token"; }, [this] { return now_; }};
};

TEST_F(DriveApiTest, RefusesWhatDriveRefuses) {
    const auto id = state_.addFile({"file", "text/plain"}, contentOf("12345"))->id;
    const std::string until =
        R"({"role":"reader","type":"user","emailAddress":"a@b.c","expirationTime":"20)";
    for (const auto& [body, expected] : Rows{
             {R"({"role":"reader","type":"anyone"})", "200"},
             {R"({"role":"reader","type":"anyone","emailAddress":""})", "400invalidSharingRequest"},
             {R"({"role":"Reader","type":"anyone"})", "400invalid"},
             {until + R"(25-03-05T14:00:01+0100"})", "200"},
             {until + R"(25-03-05T14:00:00+01:00"})", "403expirationDateInPast"}}) {
        EXPECT_EQ(post("/drive/v3/files/" + id + "/permissions", body), expected) << body;
    }
    for (const auto& [body, expected] :
         Rows{{"{", "400parseError"},
              {"{\"name\":\"\xff\"}", "400parseError"},
              {R"({"parents":["none"]})", "404notFound"},
              {R"({"parents":[")" + id + "\"]}", "403parentNotAFolder"}}) {
        EXPECT_EQ(post("/drive/v3/files", body), expected) << body;
        EXPECT_EQ(post("/upload/drive/v3/files?uploadType=resumable", body), expected) << body;
    }
}

TEST_F(DriveApiTest, MakesOneFileOfAnAuthorizedSession) {
    const std::string opening = "/upload/drive/v3/files?uploadType=resumable";
    for (const char* wrong : {"", "token", "bearer token", "Bearer tokens"}) {
        EXPECT_EQ(ask("POST", opening, "", wrong).status, 401U) << wrong;
    }
    const std::string location = ask("POST", opening).headers.back().value;
    const std::string target = location.substr(location.find("/upload/"));
    EXPECT_EQ(ask("PUT", target, "bytes").status, 200U);
    EXPECT_EQ(ask("PUT", target, "bytes").status, 404U) << "the session has ended";
    EXPECT_EQ(state_.snapshot().files.size(), 1U);
}

} // namespace
} // namespace cirrus::emulator
