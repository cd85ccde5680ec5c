#include <gtest/gtest.h>

#include "Cirrus/platform/Json.h"
#include "emulator/DriveApi.h"
#include "emulator/Query.h"

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

    std::string add(const std::string& name, std::string_view type = "text/plain") {
        return state_.addFile({name, std::string(type)}, contentOf("12345"))->id;
    }

    DriveState state_;
    std::chrono::sys_seconds now_{std::chrono::seconds(1741179600)}; // 2025-03-05T13:00:00Z
    DriveApi api_{state_, "token", [this] { return now_; }};
};

TEST_F(DriveApiTest, SearchFollowsTheQueryGrammar) {
    const std::string folder = add("Box", folderMimeType);
    add("it's");
    state_.addFile({"back\\slash", "text/plain", {folder}}, {});
    add("alpha beta");
    state_.trash(add("gone"));
    // Every query with the names that it finds, the newest first.
    const Rows table{{R"(name = 'it\'s')", "it's,"},
                     {R"(name='back\\slash')", "back\\slash,"},
                     {"name contains 'ALPHA'", "alpha beta,"},
                     {"name contains 'beta' or name = 'Alpha beta'", ""},
                     {"not trashed = false", "gone,"},
                     {"trashed != true and name != 'Box'", "alpha beta,back\\slash,it's,"},
                     {"'" + folder + "' in parents", "back\\slash,"},
                     {"'root' in parents and (name = 'gone' or name = 'Box')", "gone,Box,"},
                     {"name = 'Box' or name = 'gone' and trashed = true", "gone,"}};
    for (const auto& [query, expected] : table) {
        std::string names;
        for (const File& file : state_.search(parseQuery(query, state_.rootId()).value())) {
            names += file.name + ",";
        }
        EXPECT_EQ(names, expected) << query;
    }
    const std::string deep(100'000, '(');
    for (const std::string_view broken :
         {"", "name = 'it's'", R"(name = 'a\b')", R"(name = 'open\')", "name = 'a' name = 'b'",
          "name = 'a' and", "(name = 'a'", "name > 'a'", "size = '1'", "mimeType contains 'a'",
          "trashed = maybe", "trashed contains true", "'root' in", "name = a", deep.c_str()}) {
        EXPECT_FALSE(parseQuery(broken, "root")) << broken.substr(0, 80);
    }
    EXPECT_EQ(ask("GET", "/drive/v3/files?q=name+%3D%20'it%5C's'").status, 200U);
    EXPECT_EQ(ask("GET", "/drive/v3/files?q=name+%3D%20'it's'").status, 400U);
}

TEST_F(DriveApiTest, PermissionsFollowDrivesRules) {
    const std::string anyone = R"("role":"reader","type":"anyone")";
    const std::string until =
        R"("role":"reader","type":"user","emailAddress":"a@b.c","expirationTime":"2025-03-05T)";
    const Rows table{{anyone, "200"},
                     {anyone + R"(,"emailAddress":"")", "400"},
                     {anyone + R"(,"expirationTime":"2029-03-05T14:07:09Z")", "403"},
                     {R"("role":"reader","type":"group","emailAddress":"")", "400"},
                     {R"("role":"Reader","type":"anyone")", "400"},
                     {R"("role":"reader","type":"everyone")", "400"},
                     {until + R"(14:00:01+0100")", "200"},
                     {until + R"(14:00:00+01:00")", "403"},
                     {until + R"(08:30:00.25-05:00")", "200"},
                     {until + R"(23:00:00")", "400"}};
    for (const auto& [body, status] : table) {
        const std::string path = "/drive/v3/files/" + add("file") + "/permissions";
        EXPECT_EQ(std::to_string(ask("POST", path, "{" + body + "}").status), status) << body;
        const File file = state_.snapshot().files.back();
        EXPECT_EQ(file.permissions.size(), status == "200" ? 1U : 0U) << body;
    }
}

TEST_F(DriveApiTest, FieldSelectorsChooseMembers) {
    const std::string file = "/drive/v3/files/" + add("file") + "?fields=";
    const std::string folder = "/drive/v3/files/" + add("Box", folderMimeType) + "?fields=";
    const Rows table{{file + "id,%20size+", "id,size,"},
                     {file + "webViewLink,webContentLink", "webViewLink,webContentLink,"},
                     {folder + "*", "kind,id,name,mimeType,parents,webViewLink,"},
                     {file + "id,,name", "error,"}};
    for (const auto& [target, expected] : table) {
        std::string members;
        const JsonValue body = parseJson(*ask("GET", target).body).value();
        for (const auto& [name, value] : *body.as<JsonValue::Object>()) {
            members += name + ",";
        }
        EXPECT_EQ(members, expected) << target;
    }
}

TEST_F(DriveApiTest, AnAuthorizedSessionMakesOneFile) {
    for (const char* wrong : {"", "token", "bearer token", "Bearer  token", "Bearer tokens"}) {
        EXPECT_EQ(ask("GET", "/drive/v3/files", "", wrong).status, 401U) << wrong;
    }
    const std::string opening = "/upload/drive/v3/files?uploadType=resumable";
    EXPECT_EQ(ask("POST", opening, R"({"parents":["none"]})").status, 404U);
    const std::string location = ask("POST", opening).headers.back().value;
    const std::string target = location.substr(location.find("/upload/"));
    EXPECT_EQ(ask("PUT", target + "x", "bytes").status, 404U);
    EXPECT_EQ(ask("PUT", target, "bytes").status, 200U);
    EXPECT_EQ(ask("PUT", target, "bytes").status, 404U);
    const Snapshot held = state_.snapshot();
    EXPECT_TRUE(held.files.size() == 1 && held.files[0].content.bytes() == "bytes");
}

} // namespace
} // namespace cirrus::emulator
