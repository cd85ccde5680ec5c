#include "emulator/drive/DriveApi.h"

#include <expected>
#include <optional>
#include <utility>

#include "emulator/drive/DriveErrors.h"
#include "emulator/drive/FileFields.h"
#include "emulator/drive/Json.h"
#include "emulator/drive/PermissionRules.h"
#include "emulator/drive/Query.h"

namespace cirrus::emulator {

namespace {

constexpr std::string_view filesPath = "/drive/v3/files";
constexpr std::string_view uploadPath = "/upload/drive/v3/files";

enum class Endpoint { unknown, files, upload, file, permissions };

struct Route {
    Endpoint endpoint = Endpoint::unknown;
    std::string_view fileId;
};

Route routeOf(std::string_view path) {
    if (path == filesPath) {
        return {.endpoint = Endpoint::files, .fileId = {}};
    }
    if (path == uploadPath) {
        return {.endpoint = Endpoint::upload, .fileId = {}};
    }
    if (!path.starts_with(filesPath) || path[filesPath.size()] != '/') {
        return {};
    }
    const std::string_view rest = path.substr(filesPath.size() + 1);
    const std::string_view fileId = rest.substr(0, rest.find('/'));
    const std::string_view below = rest.substr(fileId.size());
    if (fileId.empty() || (!below.empty() && below != "/permissions")) {
        return {};
    }
    return {.endpoint = below.empty() ? Endpoint::file : Endpoint::permissions, .fileId = fileId};
}

std::optional<std::string> optionalText(const std::string* text) {
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

/// The body as a JSON object; an absent body counts as an empty one.
std::expected<Json, Answer> objectOf(const Request& request) {
    if (request.body.size == 0) {
        return Json::object();
    }
    // With exceptions off, a text that cannot be parsed gives a value that is no object.
    auto value = Json::parse(request.body.bytes(), nullptr, false);
    if (!value.is_object()) {
        return std::unexpected(parseError());
    }
    return value;
}

/// Throws `Json::exception` if a member has the wrong type.
std::expected<FileMetadata, Answer> metadataOf(const Request& request) {
    const auto body = objectOf(request);
    if (!body) {
        return std::unexpected(body.error());
    }
    const std::string* announced = request.header("X-Upload-Content-Type");
    const std::string defaultType = announced != nullptr ? *announced : "application/octet-stream";
    return FileMetadata{.name = memberOf<std::string>(*body, "name").value_or("Untitled"),
                        .mimeType = memberOf<std::string>(*body, "mimeType").value_or(defaultType),
                        .parents = memberOf<std::vector<std::string>>(*body, "parents")
                                       .value_or(std::vector<std::string>())};
}

Answer badParent(const BadParent& parent) {
    return parent.exists
               ? errorAnswer(403, "parentNotAFolder", "The specified parent is not a folder.",
                             {.type = "parameter", .name = "parents"})
               : fileNotFound(parent.id);
}

Answer sessionAnswer(const std::string& uploadId) {
    Answer answer;
    answer.headers = {
        {.name = "X-GUploader-UploadID", .value = uploadId},
        {.name = "Location",
         .value =
             "https://www.googleapis.com/upload/drive/v3/files?uploadType=resumable&upload_id=" +
             uploadId}};
    answer.body = "";
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
    } catch (const Json::exception&) {
        return parseError(); // a member of the body has the wrong type
    }
}

Answer DriveApi::route(const Request& request) {
    const Route route = routeOf(request.path);
    if (route.endpoint == Endpoint::unknown) {
        return errorAnswer(404, "notFound", "Not Found");
    }
    const std::string* authorization = request.header("Authorization");
    constexpr std::string_view scheme = "Bearer ";
    if (authorization == nullptr || !authorization->starts_with(scheme) ||
        !isValidToken_(authorization->substr(scheme.size()))) {
        return unauthenticated();
    }
    const bool post = request.method == "POST";
    const bool get = request.method == "GET";
    if (route.endpoint == Endpoint::files && get) {
        return searchFiles(request);
    }
    if (route.endpoint == Endpoint::files && post) {
        return createFile(request);
    }
    if (route.endpoint == Endpoint::file && get) {
        return describeFile(request, route.fileId);
    }
    if (route.endpoint == Endpoint::permissions && post) {
        return createPermission(request, route.fileId);
    }
    if (route.endpoint == Endpoint::upload && (post || request.method == "PUT")) {
        const std::string* uploadId = request.queryItem("upload_id");
        return uploadId != nullptr ? finishSession(request, *uploadId) : openSession(request);
    }
    return errorAnswer(405, "httpMethodNotAllowed", "Method Not Allowed");
}

Answer DriveApi::searchFiles(const Request& request) const {
    FileFilter filter = [](const DriveFile&) { return true; };
    if (const std::string* query = request.queryItem("q")) {
        auto parsed = parseQuery(*query, state_.rootId());
        if (!parsed) {
            return errorAnswer(400, "invalid", "Invalid Value", {.type = "parameter", .name = "q"});
        }
        filter = std::move(*parsed);
    }
    Json files = Json::array();
    for (const DriveFile& file : state_.search(filter)) {
        files.push_back(fileResource(file));
    }
    return jsonAnswer(
        200,
        Json{{"kind", "drive#fileList"}, {"incompleteSearch", false}, {"files", std::move(files)}});
}

Answer DriveApi::describeFile(const Request& request, std::string_view id) const {
    const auto fields = parseFields(optionalText(request.queryItem("fields")));
    if (!fields) {
        return errorAnswer(400, "invalidParameter", "Invalid field selection " + fields.error(),
                           {.type = "parameter", .name = "fields"});
    }
    const std::optional<DriveFile> file = state_.find(id);
    return file ? jsonAnswer(200, fileResource(*file, *fields)) : fileNotFound(std::string(id));
}

Answer DriveApi::createFile(const Request& request) {
    auto metadata = metadataOf(request);
    if (!metadata) {
        return metadata.error();
    }
    const bool folder = metadata->mimeType == folderMimeType;
    const auto file = state_.addFile(std::move(*metadata), folder ? Content{} : contentOf(""));
    return file ? jsonAnswer(200, fileResource(*file)) : badParent(file.error());
}

Answer DriveApi::openSession(const Request& request) {
    const std::string* uploadType = request.queryItem("uploadType");
    if (uploadType == nullptr || *uploadType != "resumable") {
        return errorAnswer(400, "badRequest", "Invalid upload type",
                           {.type = "parameter", .name = "uploadType"});
    }
    auto metadata = metadataOf(request);
    if (!metadata) {
        return metadata.error();
    }
    const auto uploadId = state_.openSession(std::move(*metadata));
    return uploadId ? sessionAnswer(*uploadId) : badParent(uploadId.error());
}

Answer DriveApi::finishSession(const Request& request, const std::string& uploadId) {
    const std::optional<DriveFile> file = state_.finishSession(uploadId, request.body);
    return file ? jsonAnswer(200, fileResource(*file))
                : errorAnswer(404, "notFound", "Upload session not found");
}

Answer DriveApi::createPermission(const Request& request, std::string_view fileId) {
    if (!state_.find(fileId)) {
        return fileNotFound(std::string(fileId));
    }
    const auto body = objectOf(request);
    if (!body) {
        return body.error();
    }
    const auto permission =
        readPermission(*body, optionalText(request.queryItem("emailMessage")), clock_());
    if (!permission) {
        return permission.error();
    }
    state_.setPermission(fileId, *permission);
    return jsonAnswer(200, permissionResource(*permission));
}

} // namespace cirrus::emulator
