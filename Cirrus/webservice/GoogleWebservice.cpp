#include "Cirrus/webservice/GoogleWebservice.h"

#include <utility>

#include "Cirrus/platform/DateFormatter.h"
#include "Cirrus/webservice/Endpoints.h"

namespace cirrus {

namespace {

constexpr auto folderMimeType = "application/vnd.google-apps.folder";
constexpr auto linkFields = "id, kind, name, mimeType, webContentLink, webViewLink";

std::string keyOf(CodingKey auto key) {
    return std::string(keyText(key));
}

JsonValue listOf(std::string element) {
    JsonValue::Array list;
    list.emplace_back(std::move(element));
    return list;
}

/// The record of a classified answer; an error passes unchanged.
template <class Record>
Result<Record, WebserviceError> decoded(Result<Response, WebserviceError> result) {
    if (!result) {
        return std::unexpected(std::move(result).error());
    }
    auto json = parseJson(result->data);
    if (!json) {
        return std::unexpected(
            WebserviceError::decodingError({.key = {}, .reason = json.error().reason}));
    }
    auto record = Record::decode(*std::move(json));
    if (!record) {
        return std::unexpected(WebserviceError::decodingError(std::move(record).error()));
    }
    return *std::move(record);
}

Result<Url, WebserviceError> sessionUrl(const Result<Response, WebserviceError>& result) {
    if (!result) {
        return std::unexpected(result.error());
    }
    if (const auto location = result->headers.value("Location")) {
        if (auto url = Url::parse(*location)) {
            return *std::move(url);
        }
    }
    return std::unexpected(WebserviceError::invalidResponse());
}

} // namespace

void GoogleWebservice::findDirectory(const std::string& name, Completion<FileList> completion) {
    const std::string expression =
        std::string("mimeType = '") + folderMimeType + "' and name = '" + name + "'";
    performForRecord<FileList>(makeRequest(RequestUrlType::path("files"), "GET",
                                           QueryItems{{"q", expression}}, std::nullopt),
                               {}, std::move(completion));
}

void GoogleWebservice::createDirectory(const std::string& name,
                                       const std::optional<std::string>& parentIdentifier,
                                       Completion<File> completion) {
    Body body;
    body.emplace_back(keyOf(File::CodingKeys::mimeType), folderMimeType);
    body.emplace_back(keyOf(File::CodingKeys::name), name);
    if (parentIdentifier) {
        body.emplace_back("parents", listOf(*parentIdentifier));
    }
    performForRecord<File>(
        makeRequest(RequestUrlType::path("files"), "POST", std::nullopt, std::move(body)), {},
        std::move(completion));
}

void GoogleWebservice::createUploadUrl(const std::string& name, std::int64_t filesize,
                                       const std::string& parentIdentifier,
                                       Completion<Url> completion) {
    Body body;
    body.reserve(2);
    body.emplace_back(keyOf(File::CodingKeys::name), name);
    body.emplace_back("parents", listOf(parentIdentifier));
    auto request = makeRequest(RequestUrlType::url(endpoints::upload()), "POST", std::nullopt,
                               std::move(body));
    request.headers.add("Content-Length", std::to_string(filesize));
    perform(std::move(request), {}, [completion = std::move(completion)](auto result) mutable {
        completion(sessionUrl(result));
    });
}

void GoogleWebservice::upload(Data data, Url to, ProgressCallback progress,
                              Completion<File> completion) {
    auto request =
        makeRequest(RequestUrlType::url(std::move(to)), "POST", std::nullopt, std::nullopt);
    request.headers.add("Content-Length", std::to_string(data.size()));
    request.body = std::move(data);
    performForRecord<File>(std::move(request), std::move(progress), std::move(completion));
}

void GoogleWebservice::createPermission(
    const std::string& fileIdentifier, const std::string& role, const std::string& type,
    const std::optional<std::string>& email, const std::optional<std::string>& emailMessage,
    std::optional<std::chrono::system_clock::time_point> expiration,
    Completion<Permission> completion) {
    Body body;
    body.emplace_back(keyOf(Permission::CodingKeys::role), role);
    body.emplace_back(keyOf(Permission::CodingKeys::type), type);
    if (expiration) {
        body.emplace_back("expirationTime", formatLocalTime(*expiration));
    }
    if (email) {
        body.emplace_back("emailAddress", *email);
    }
    std::optional<QueryItems> queryItems;
    if (emailMessage) {
        queryItems = {{"emailMessage", *emailMessage}};
    }
    performForRecord<Permission>(
        makeRequest(RequestUrlType::path("files/" + fileIdentifier + "/permissions"), "POST",
                    queryItems, std::move(body)),
        {}, std::move(completion));
}

void GoogleWebservice::requestFile(const std::string& fileIdentifier, Completion<File> completion) {
    performForRecord<File>(makeRequest(RequestUrlType::path("files/" + fileIdentifier), "GET",
                                       QueryItems{{"fields", linkFields}}, std::nullopt),
                           {}, std::move(completion));
}

UrlRequest GoogleWebservice::makeRequest(RequestUrlType urlType, std::string method,
                                         const std::optional<QueryItems>& queryItems,
                                         std::optional<Body> body) const {
    UrlRequest request{.url = std::move(urlType).resolved(),
                       .method = std::move(method),
                       .headers = {},
                       .body = {}};
    request.headers.add("Authorization", "Bearer " + accessToken_);
    if (body) {
        // Text that is not UTF-8 can not be written; the request then goes without a body.
        if (const auto text = writeJson(*std::move(body))) {
            request.body = Data(*text);
        }
        request.headers.add("Content-Type", "application/json; charset=utf-8");
    }
    if (queryItems) {
        request.url = UrlBuilder::replacingQuery(request.url, *queryItems);
    }
    return request;
}

/// Sends a request and has its classified outcome handled, unless this object is gone by then.
template <class Handler>
void GoogleWebservice::perform(UrlRequest&& request, ProgressCallback progress, Handler handle) {
    auto task = UrlSession::shared().dataTask(
        std::move(request),
        [self = weak_from_this(), handle = std::move(handle)](TaskOutcome outcome) mutable {
            if (!self.expired()) {
                handle(classify(std::move(outcome)));
            }
        });
    if (progress) {
        progress(task.progress());
    }
    std::move(task).resume();
}

template <class Record>
void GoogleWebservice::performForRecord(UrlRequest&& request, ProgressCallback progress,
                                        Completion<Record> completion) {
    perform(std::move(request), std::move(progress),
            [completion = std::move(completion)](Result<Response, WebserviceError> result) mutable {
                completion(decoded<Record>(std::move(result)));
            });
}

} // namespace cirrus
