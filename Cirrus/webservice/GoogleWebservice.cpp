#include "Cirrus/webservice/GoogleWebservice.h"

#include <utility>

#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/platform/formats/LocalTime.h"
#include "Cirrus/platform/http/HttpSession.h"
#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

namespace {

constexpr auto folderMimeType = "application/vnd.google-apps.folder";
constexpr auto linkFields = "id, kind, name, mimeType, webContentLink, webViewLink";

/// The record in a classified answer; an error is passed on unchanged.
template <class Record>
Result<Record, WebserviceError> decoded(const Result<Response, WebserviceError>& result) {
    if (!result) {
        return std::unexpected(result.error());
    }
    const auto json = parseJson(result->data);
    if (!json) {
        return std::unexpected(WebserviceError::decodingError({.key = {}, .reason = json.error()}));
    }
    auto record = decodeRecord<Record>(*json);
    if (!record) {
        return std::unexpected(WebserviceError::decodingError(std::move(record).error()));
    }
    return *std::move(record);
}

Result<Url, WebserviceError> sessionUrl(const Result<Response, WebserviceError>& result) {
    if (!result) {
        return std::unexpected(result.error());
    }
    if (const auto location = headerValue(result->headers, "Location")) {
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
    performForRecord<FileList>(
        makeRequest(RequestUrlType::path("files"), "GET", QueryItems{{"q", expression}}, nullptr),
        {}, std::move(completion));
}

void GoogleWebservice::createDirectory(const std::string& name,
                                       const std::optional<std::string>& parentIdentifier,
                                       Completion<File> completion) {
    JsonValue body{{keyText(File::CodingKeys::mimeType), folderMimeType},
                   {keyText(File::CodingKeys::name), name}};
    if (parentIdentifier) {
        body["parents"] = JsonValue::array({*parentIdentifier});
    }
    performForRecord<File>(makeRequest(RequestUrlType::path("files"), "POST", std::nullopt, &body),
                           {}, std::move(completion));
}

void GoogleWebservice::createUploadUrl(const std::string& name, std::int64_t filesize,
                                       const std::string& parentIdentifier,
                                       Completion<Url> completion) {
    const JsonValue body{{keyText(File::CodingKeys::name), name},
                         {"parents", JsonValue::array({parentIdentifier})}};
    auto request = makeRequest(RequestUrlType::url(uploadEndpoint()), "POST", std::nullopt, &body);
    // The file's size, for whoever looks at the request. It is not the length of this body, so the
    // HTTP session never sends it.
    request.headers.emplace_back("Content-Length", std::to_string(filesize));
    perform(std::move(request), {},
            [completion = std::move(completion)](const Result<Response, WebserviceError>& result) {
                completion(sessionUrl(result));
            });
}

void GoogleWebservice::upload(SharedBytes data, const Url& to, const ProgressReceiver& progress,
                              Completion<File> completion) {
    auto request = makeRequest(RequestUrlType::url(to), "POST", std::nullopt, nullptr);
    request.headers.emplace_back("Content-Length", std::to_string(data ? data->size() : 0));
    request.body = std::move(data);
    performForRecord<File>(std::move(request), progress, std::move(completion));
}

void GoogleWebservice::createPermission(
    const std::string& fileIdentifier, const std::string& role, const std::string& type,
    const std::optional<std::string>& email, const std::optional<std::string>& emailMessage,
    std::optional<std::chrono::system_clock::time_point> expiration,
    Completion<Permission> completion) {
    JsonValue body{{keyText(Permission::CodingKeys::role), role},
                   {keyText(Permission::CodingKeys::type), type}};
    if (expiration) {
        body["expirationTime"] = formatLocalTime(*expiration);
    }
    if (email) {
        body["emailAddress"] = *email;
    }
    std::optional<QueryItems> queryItems;
    if (emailMessage) {
        queryItems = {{"emailMessage", *emailMessage}};
    }
    performForRecord<Permission>(
        makeRequest(RequestUrlType::path("files/" + fileIdentifier + "/permissions"), "POST",
                    queryItems, &body),
        {}, std::move(completion));
}

void GoogleWebservice::requestFile(const std::string& fileIdentifier, Completion<File> completion) {
    performForRecord<File>(makeRequest(RequestUrlType::path("files/" + fileIdentifier), "GET",
                                       QueryItems{{"fields", linkFields}}, nullptr),
                           {}, std::move(completion));
}

HttpRequest GoogleWebservice::makeRequest(const RequestUrlType& urlType, std::string method,
                                          const std::optional<QueryItems>& queryItems,
                                          const JsonValue* body) const {
    HttpRequest request{.url = urlType.resolved(), .method = std::move(method)};
    request.headers.emplace_back("Authorization", "Bearer " + accessToken_);
    if (body != nullptr) {
        // Text that is not UTF-8 cannot be written as JSON; the request then goes without a body.
        if (auto text = writeJson(*body)) {
            request.body = std::make_shared<const std::string>(*std::move(text));
        }
        request.headers.emplace_back("Content-Type", "application/json; charset=utf-8");
    }
    if (queryItems) {
        request.url = UrlBuilder::replacingQuery(request.url, *queryItems);
    }
    return request;
}

/// The completion gets the classified outcome, unless this object is gone by then.
void GoogleWebservice::perform(HttpRequest request, const ProgressReceiver& progress,
                               Completion<Response> completion) {
    HttpTransfer transfer{.request = std::move(request),
                          .completion = [self = weak_from_this(),
                                         completion = std::move(completion)](HttpOutcome outcome) {
                              if (!self.expired()) {
                                  completion(classify(std::move(outcome)));
                              }
                          }};
    if (progress) {
        transfer.progress = Progress::create(transfer.request.bodyText().size());
        progress(transfer.progress);
    }
    HttpSession::shared().start(std::move(transfer));
}

template <class Record>
void GoogleWebservice::performForRecord(HttpRequest request, const ProgressReceiver& progress,
                                        Completion<Record> completion) {
    perform(std::move(request), progress,
            [completion = std::move(completion)](const Result<Response, WebserviceError>& result) {
                completion(decoded<Record>(result));
            });
}

} // namespace cirrus
