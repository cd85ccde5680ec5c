#include "emulator/drive/DriveApi.h"

#include <optional>
#include <set>
#include <utility>

#include <boost/algorithm/string.hpp>

#include "emulator/drive/DriveError.h"
#include "emulator/drive/Json.h"
#include "emulator/drive/PermissionRules.h"
#include "emulator/drive/Query.h"

namespace cirrus::emulator {

namespace {

constexpr std::string_view filesPath = "/drive/v3/files";
constexpr std::string_view uploadPath = "/upload/drive/v3/files";

/// The file as Drive describes it, with the members that a comma-separated selector names, as far
/// as such a file has them.
Json fileResource(const DriveFile& file, const std::string& selector = "kind,id,name,mimeType") {
    Json members{{"kind", "drive#file"},
                 {"id", file.id},
                 {"name", file.name},
                 {"mimeType", file.mimeType},
                 {"webViewLink", "https://drive.google.com/drive/folders/" + file.id},
                 {"webContentLink", nullptr}};
    if (!file.isFolder()) {
        members["webViewLink"] =
            "https://drive.google.com/file/d/" + file.id + "/view?usp=drivesdk";
        members["webContentLink"] =
            "https://drive.google.com/uc?id=" + file.id + "&export=download";
    }
    std::set<std::string> wanted;
    boost::split(wanted, boost::erase_all_copy(selector, " "), boost::is_any_of(","));
    Json selected = Json::object();
    for (const auto& [name, value] : members.items()) {
        if (wanted.erase(name) > 0 && !value.is_null()) {
            selected[name] = value;
        }
    }
    if (!wanted.empty()) {
        throw DriveError(400, "invalidParameter", "Invalid field selection " + *wanted.begin());
    }
    return selected;
}

Json permissionResource(const DrivePermission& permission) {
    Json members{{"kind", "drive#permission"},
                 {"id", permission.id},
                 {"type", permission.type},
                 {"role", permission.role}};
    if (permission.type == "anyone") {
        members["allowFileDiscovery"] = false;
    }
    return members;
}

/// The body as JSON; an absent body counts as an empty object.
Json jsonOf(const Request& request) {
    return request.body.size > 0 ? Json::parse(request.body.bytes()) : Json::object();
}

/// The file that a client wants to create.
DriveFile fileOf(const Request& request) {
    const Json body = jsonOf(request);
    return {.name = body.value("name", "Untitled"),
            .mimeType = body.value("mimeType", "application/octet-stream"),
            .parents = body.value("parents", std::vector<std::string>())};
}

Answer unauthenticated() {
    Answer answer =
        DriveError(401, "authError",
                   "Request had invalid authentication credentials. Expected OAuth 2 access token, "
                   "login cookie or other valid authentication credential. See "
                   "https://developers.google.com/identity/sign-in/web/devconsole-project.")
            .answer();
    answer.headers.push_back(
        {"WWW-Authenticate",
         R"(Bearer realm="https://accounts.google.com/", error="invalid_token")"});
    return answer;
}

} // namespace

bool isContentUpload(const Request& request) {
    return request.path == uploadPath && request.queryItem("upload_id") != nullptr;
}

DriveApi::DriveApi(DriveState& state, TokenCheck isValidToken, Clock clock)
    : state_(state), isValidToken_(std::move(isValidToken)), clock_(std::move(clock)) {}

Answer DriveApi::answer(const Request& request) {
    try {
        return route(request);
    } catch (const DriveError& error) {
        return error.answer();
    } catch (const Json::exception&) { // the body is no object, or a member has the wrong type
        return DriveError(400, "parseError", "Parse Error").answer();
    }
}

bool DriveApi::isAuthorized(const Request& request) const {
    constexpr std::string_view scheme = "Bearer ";
    const std::string* authorization = request.header("Authorization");
    return authorization != nullptr && authorization->starts_with(scheme) &&
           isValidToken_(authorization->substr(scheme.size()));
}

Answer DriveApi::route(const Request& request) {
    constexpr std::string_view permissions = "/permissions";
    const bool isPost = request.method == "POST";
    const bool isGet = request.method == "GET";
    const bool isKnown = request.path == uploadPath || request.path.starts_with(filesPath);
    if (isKnown && !isAuthorized(request)) {
        return unauthenticated();
    }
    if (isContentUpload(request) && (isPost || request.method == "PUT")) {
        const std::string& uploadId = *request.queryItem("upload_id");
        return jsonAnswer(200, fileResource(state_.finishSession(uploadId, request.body)));
    }
    if (request.path == uploadPath && isPost) {
        return openSession(request);
    }
    if (request.path == filesPath && isPost) {
        return jsonAnswer(200, fileResource(state_.addFile(fileOf(request))));
    }
    if (request.path == filesPath && isGet) {
        return searchFiles(request);
    }
    if (request.path.starts_with(std::string(filesPath) + "/")) {
        std::string_view id = std::string_view(request.path).substr(filesPath.size() + 1);
        if (isGet) {
            return describeFile(request, id);
        }
        if (isPost && id.ends_with(permissions)) {
            id.remove_suffix(permissions.size());
            return createPermission(request, id);
        }
    }
    throw DriveError(404, "notFound", "Not Found");
}

Answer DriveApi::searchFiles(const Request& request) const {
    std::optional<FileFilter> filter = [](const DriveFile&) { return true; };
    if (const std::string* query = request.queryItem("q")) {
        filter = parseQuery(*query);
    }
    if (!filter) {
        throw DriveError(400, "invalid", "Invalid Value");
    }
    Json files = Json::array();
    for (const DriveFile& file : state_.search(*filter)) {
        files.push_back(fileResource(file));
    }
    return jsonAnswer(
        200,
        Json{{"kind", "drive#fileList"}, {"incompleteSearch", false}, {"files", std::move(files)}});
}

Answer DriveApi::describeFile(const Request& request, std::string_view id) {
    const DriveFile file = state_.find(id);
    const std::string* fields = request.queryItem("fields");
    return jsonAnswer(200, fields != nullptr ? fileResource(file, *fields) : fileResource(file));
}

Answer DriveApi::openSession(const Request& request) {
    const std::string* uploadType = request.queryItem("uploadType");
    if (uploadType == nullptr || *uploadType != "resumable") {
        throw DriveError(400, "badRequest", "Invalid upload type");
    }
    const std::string uploadId = state_.openSession(fileOf(request));
    return {.headers = {{"X-GUploader-UploadID", uploadId},
                        {"Location", "https://www.googleapis.com/upload/drive/v3/files"
                                     "?uploadType=resumable&upload_id=" +
                                         uploadId}},
            .body = ""};
}

Answer DriveApi::createPermission(const Request& request, std::string_view fileId) {
    DrivePermission permission = readPermission(jsonOf(request), clock_());
    if (const std::string* message = request.queryItem("emailMessage")) {
        permission.emailMessage = *message;
    }
    state_.setPermission(fileId, permission);
    return jsonAnswer(200, permissionResource(permission));
}

} // namespace cirrus::emulator
