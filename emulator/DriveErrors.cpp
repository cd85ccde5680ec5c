#include "emulator/DriveErrors.h"

#include <utility>

namespace cirrus::emulator {

namespace {

JsonValue::Object errorDetail(const std::string& reason, const std::string& message,
                              const ErrorLocation& location) {
    JsonValue::Object detail{{"domain", "global"}, {"reason", reason}, {"message", message}};
    if (!location.name.empty()) {
        detail.emplace_back("locationType", location.type);
        detail.emplace_back("location", location.name);
    }
    return detail;
}

JsonValue envelope(unsigned status, const std::string& message, JsonValue::Object detail,
                   JsonValue::Object extra) {
    extra.emplace_back("code", static_cast<int>(status));
    extra.emplace_back("message", message);
    extra.emplace_back("errors", JsonValue::Array{std::move(detail)});
    return JsonValue::Object{{"error", std::move(extra)}};
}

} // namespace

Answer jsonAnswer(unsigned status, const JsonValue& value) {
    Answer answer;
    answer.status = status;
    answer.headers.push_back({"Content-Type", "application/json; charset=UTF-8"});
    // Only a request that is not UTF-8 itself can lead to a value that cannot be written.
    answer.body = writeJson(value).value_or("{}");
    return answer;
}

Answer errorAnswer(unsigned status, const std::string& reason, const std::string& message,
                   const ErrorLocation& location) {
    return jsonAnswer(status,
                      envelope(status, message, errorDetail(reason, message, location), {}));
}

Answer unauthenticated() {
    const std::string message =
        "Request had invalid authentication credentials. Expected OAuth 2 access token, login "
        "cookie or other valid authentication credential. See "
        "https://developers.google.com/identity/sign-in/web/devconsole-project.";
    JsonValue::Object detail = errorDetail("authError", "Invalid Credentials",
                                           {.type = "header", .name = "Authorization"});
    Answer answer =
        jsonAnswer(401, envelope(401, message, std::move(detail), {{"status", "UNAUTHENTICATED"}}));
    answer.headers.push_back(
        {"WWW-Authenticate",
         R"(Bearer realm="https://accounts.google.com/", error="invalid_token")"});
    return answer;
}

Answer fileNotFound(const std::string& id) {
    return errorAnswer(404, "notFound", "File not found: " + id + ".",
                       {.type = "parameter", .name = "fileId"});
}

Answer parseError() {
    return errorAnswer(400, "parseError", "Parse Error");
}

} // namespace cirrus::emulator
