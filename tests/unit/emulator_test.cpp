// What other tests rely on without showing it: the emulator refuses what Drive refuses.

#include <gtest/gtest.h>

#include "emulator/drive/DriveApi.h"
#include "emulator/drive/Json.h"

namespace cirrus::emulator {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(DriveApi, RefusesWhatDriveRefuses) {
    DriveState state;
    const std::chrono::sys_seconds now(std::chrono::seconds(1741179600)); // 2025-03-05T13:00:00Z
    DriveApi api(state, [](auto) { return true; }, [now] { return now; });
    // The status of the answer, with the reason of its error.
    const auto post = [&api](const std::string& target, const std::string& body) {
        Request request{.method = "POST", .target = target, .body = contentOf(body)};
        request.headers.push_back({"Authorization", "Bearer token"});
        readTarget(request);
        const Answer answer = api.answer(request);
        const Json parsed = Json::parse(answer.body.value_or(""), nullptr, false);
        const Json::json_pointer path("/error/errors/0/reason");
        return std::to_string(answer.status) + (parsed.is_object() ? parsed.value(path, "") : "");
    };
    const auto id = state.addFile({"file", "text/plain"}, contentOf("12345"))->id;
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

} // namespace
} // namespace cirrus::emulator
