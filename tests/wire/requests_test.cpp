#include <gtest/gtest.h>

#include <functional>
#include <future>

#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/platform/http/HttpSession.h"
#include "Cirrus/webservice/GoogleWebservice.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace cirrus::tests {
namespace {

using Members = JsonValue;

constexpr auto folderType = "application/vnd.google-apps.folder";
const std::string search =
    "GET /drive/v3/files q=mimeType = 'application/vnd.google-apps.folder' and name = '";

class RequestsTest : public testing::Test {
protected:
    /// Calls an operation and waits for its result.
    template <class Value>
    auto call(auto operation, const auto&... arguments) {
        std::promise<Result<Value, WebserviceError>> result;
        std::invoke(operation, *service_, arguments...,
                    [&result](auto value) { result.set_value(std::move(value)); });
        return result.get_future().get();
    }

    /// Compares the last request: method, path and decoded query; the JSON of its body, else null.
    void expectRequest(const std::string& line, const JsonValue& json) {
        const auto request = emulator_.snapshot().requests.back();
        auto sent = request.method + " " + request.path;
        for (const auto& [name, value] : request.query) {
            sent += " " + name + "=" + value;
        }
        EXPECT_EQ(sent, line);
        EXPECT_EQ(parseJson(request.body.bytes()).value_or(nullptr), json) << sent;
    }

    std::unique_ptr<emulator::LocalDrive> drive_ = emulator::LocalDrive::start().value();
    emulator::Emulator& emulator_ = **drive_;
    std::shared_ptr<GoogleWebservice> service_ =
        std::make_shared<GoogleWebservice>(emulator_.accessToken());
};

TEST_F(RequestsTest, CarryAwkwardTextsAsData) {
    emulator_.setHook([](const auto&) { return emulator::Answer{.body = "{}"}; });
    for (const std::string text :
         {"it's \"q\" \\", "a&b=c", "1+1 = 2", "100% %41", "#1?", "a/b/../c", "né 文 😀\n\t"}) {
        EXPECT_FALSE(call<FileList>(&Webservice::findDirectory, text));
        expectRequest(search + text + "'", nullptr);
        EXPECT_FALSE(call<File>(&Webservice::createDirectory, text, text));
        expectRequest("POST /drive/v3/files", Members{{"mimeType", folderType},
                                                      {"name", text},
                                                      {"parents", JsonValue::array({text})}});
        EXPECT_FALSE(call<Permission>(&Webservice::createPermission, "f", text, text, text, text,
                                      std::nullopt));
        expectRequest("POST /drive/v3/files/f/permissions emailMessage=" + text,
                      Members{{"role", text}, {"type", text}, {"emailAddress", text}});
    }
    EXPECT_FALSE(call<File>(&Webservice::requestFile, "a/b?c#d e"));
    EXPECT_TRUE(emulator_.snapshot().requests.back().target.starts_with(
        "/drive/v3/files/a/b%3Fc%23d%20e?fields="));
    // An empty message is a message.
    EXPECT_FALSE(call<Permission>(&Webservice::createPermission, "f", "r", "t", std::nullopt, "",
                                  std::nullopt));
    expectRequest("POST /drive/v3/files/f/permissions emailMessage=",
                  Members{{"role", "r"}, {"type", "t"}});
    // A text that is not UTF-8 leaves no JSON to send.
    EXPECT_FALSE(call<File>(&Webservice::createDirectory, "caf\xe9", std::nullopt));
    expectRequest("POST /drive/v3/files", nullptr);
    EXPECT_EQ(emulator_.snapshot().requests.back().body.size, 0U);
}

TEST_F(RequestsTest, GiveTheAddressOfAnUploadOrFail) {
    const std::vector<std::pair<std::vector<emulator::Header>, std::string>> rows{
        {{}, "invalidResponse"},
        {{{"Location", ""}}, "invalidResponse"},
        {{{"Location", "not a url"}}, "invalidResponse"},
        {{{"location", "/relative?x=%20"}}, "/relative?x=%20"}};
    for (const auto& [headers, expected] : rows) {
        emulator_.setHook(
            [&](const auto&) { return emulator::Answer{.headers = headers, .body = ""}; });
        const auto url = call<Url>(&Webservice::createUploadUrl, "n", 5, "p");
        EXPECT_EQ(url ? url->text() : url.error().diagnosticText(), expected);
    }
}

} // namespace
} // namespace cirrus::tests
