#include "emulator/DriveApi.h"

#include <expected>
#include <optional>
#include <utility>

#include "Cirrus/platform/Json.h"
#include "emulator/DriveErrors.h"
#include "emulator/FileFields.h"
#include "emulator/PermissionRules.h"
#include "emulator/Query.h"

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
std::expected<JsonValue, Answer> objectOf(const Request& request) {
    if (request.body.size == 0) {
        return JsonValue(JsonValue::Object{});
    }
    auto value = parseJson(request.body.bytes());
    if (!value || value->as<JsonValue::Object>() == nullptr) {
        return std::unexpected(parseError());
    }
    return std::move(*value);
}

/// Reads an optional text; false when it is something else.
bool readText(const JsonValue& body, std::string_view name, std::string& text) {
    const JsonValue* member = body.member(name);
    if (member == nullptr || member->isNull()) {
        return true;
    }
    const auto* value = member->as<std::string>();
    text = value != nullptr ? *value : text;
    return value != nullptr;
}

bool readParents(const JsonValue& body, std::vector<std::string>& parents) {
    const JsonValue* member = body.member("parents");
    if (member == nullptr || member->isNull()) {
        return true;
    }
    const auto* values = member->as<JsonValue::Array>();
    if (values == nullptr) {
        return false;
    }
    for (const JsonValue& value : *values) {
        const auto* parent = value.as<std::string>();
        if (parent == nullptr) {
            return false;
        }
        parents.push_back(*parent);
    }
    return true;
}

std::expected<FileMetadata, Answer> metadataOf(const Request& request) {
    const auto body = objectOf(request);
    if (!body) {
        return std::unexpected(body.error());
    }
    const std::string* announced = request.header("X-Upload-Content-Type");
    FileMetadata metadata{.name = "Untitled",
                          .mimeType =
                              announced != nullptr ? *announced : "application/octet-stream",
                          .parents = {}};
    if (!readText(*body, "name", metadata.name) ||
        !readText(*body, "mimeType", metadata.mimeType) || !readParents(*body, metadata.parents)) {
        return std::unexpected(parseError());
    }
    return metadata;
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

DriveApi::DriveApi(DriveState& state, std::string accessToken, Clock clock)
    : state_(state), authorization_("Bearer " + std::move(accessToken)), clock_(std::move(clock)) {}

Answer DriveApi::answer(const Request& request) {
    const Route route = routeOf(request.path);
    if (route.endpoint == Endpoint::unknown) {
        return errorAnswer(404, "notFound", "Not Found");
    }
    const std::string* authorization = request.header("Authorization");
    if (authorization == nullptr || *authorization != authorization_) {
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
    FileFilter filter = [](const File&) { return true; };
    if (const std::string* query = request.queryItem("q")) {
        auto parsed = parseQuery(*query, state_.rootId());
        if (!parsed) {
            return errorAnswer(400, "invalid", "Invalid Value", {.type = "parameter", .name = "q"});
        }
        filter = std::move(*parsed);
    }
    JsonValue::Array files;
    for (const File& file : state_.search(filter)) {
        files.push_back(fileResource(file));
    }
    return jsonAnswer(200, JsonValue::Object{{"kind", "drive#fileList"},
                                             {"incompleteSearch", false},
                                             {"files", std::move(files)}});
}

Answer DriveApi::describeFile(const Request& request, std::string_view id) const {
    const auto fields = parseFields(optionalText(request.queryItem("fields")));
    if (!fields) {
        return errorAnswer(400, "invalidParameter",
                           "Invalid field selection " + fields.error().name,
                           {.type = "parameter", .name = "fields"});
    }
    const std::optional<File> file = state_.find(id);
    return file ? jsonAnswer(200, fileResource(*file, *fields)) : fileNotFound(std::string(id));
}

Answer DriveApi::createFile(const Request& request) {
    auto metadata = metadataOf(request);
    if (!metadata) {
        return metadata.error();
    }
    const bool folder = metadata->mimeType == folderMimeType;
    const auto file = state_.addFile(std::move(*metadata), folder ? Content{} : contentOf(""));
    return file ? jsonAnswer(200, fileResource(*file)) : fileNotFound(file.error().id);
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
    return uploadId ? sessionAnswer(*uploadId) : fileNotFound(uploadId.error().id);
}

Answer DriveApi::finishSession(const Request& request, const std::string& uploadId) {
    const std::optional<File> file = state_.finishSession(uploadId, request.body);
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
