#include "emulator/drive/DriveErrors.h"

#include <utility>

namespace cirrus::emulator {

namespace {

Json errorDetail(const std::string& reason, const std::string& message,
                 const ErrorLocation& location) {
    Json detail{{"domain", "global"}, {"reason", reason}, {"message", message}};
    if (!location.name.empty()) {
        detail["locationType"] = location.type;
        detail["location"] = location.name;
    }
    return detail;
}

Json envelope(unsigned status, const std::string& message, Json detail, Json extra) {
    extra["code"] = status;
    extra["message"] = message;
    extra["errors"] = Json::array({std::move(detail)});
    return {{"error", std::move(extra)}};
}

} // namespace

Answer jsonAnswer(unsigned status, const Json& value) {
    Answer answer;
    answer.status = status;
    answer.headers.push_back({"Content-Type", "application/json; charset=UTF-8"});
    // Ids and names that are quoted from a request need not be UTF-8.
    answer.body = value.dump(2, ' ', false, Json::error_handler_t::replace);
    return answer;
}

Answer errorAnswer(unsigned status, const std::string& reason, const std::string& message,
                   const ErrorLocation& location) {
    return jsonAnswer(
        status, envelope(status, message, errorDetail(reason, message, location), Json::object()));
}

Answer unauthenticated() {
    const std::string message =
        "Request had invalid authentication credentials. Expected OAuth 2 access token, login "
        "cookie or other valid authentication credential. See "
        "https://developers.google.com/identity/sign-in/web/devconsole-project.";
    Json detail = errorDetail("authError", "Invalid Credentials",
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
