#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Cirrus/platform/formats/JsonValue.h"
#include "Cirrus/platform/formats/UrlBuilder.h"
#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/webservice/RequestUrlType.h"
#include "Cirrus/webservice/Response.h"
#include "Cirrus/webservice/Webservice.h"

namespace cirrus {

/// The Drive REST API, version 3, over the shared session, with an OAuth access token as bearer
/// credential. The token is neither checked nor refreshed. Always held by `std::shared_ptr`. It has
/// no other state, so any number of requests may be in flight at once.
class GoogleWebservice final : public Webservice,
                               public std::enable_shared_from_this<GoogleWebservice> {
public:
    explicit GoogleWebservice(std::string accessToken) : accessToken_(std::move(accessToken)) {}

    void findDirectory(const std::string& name, Completion<FileList> completion) override;
    void createDirectory(const std::string& name,
                         const std::optional<std::string>& parentIdentifier,
                         Completion<File> completion) override;
    void createUploadUrl(const std::string& name, std::int64_t filesize,
                         const std::string& parentIdentifier, Completion<Url> completion) override;
    void upload(SharedBytes data, const Url& to, const ProgressReceiver& progress,
                Completion<File> completion) override;
    void createPermission(const std::string& fileIdentifier, const std::string& role,
                          const std::string& type, const std::optional<std::string>& email,
                          const std::optional<std::string>& emailMessage,
                          std::optional<std::chrono::system_clock::time_point> expiration,
                          Completion<Permission> completion) override;
    void requestFile(const std::string& fileIdentifier, Completion<File> completion) override;

private:
    [[nodiscard]] HttpRequest makeRequest(const RequestUrlType& urlType, std::string method,
                                          const std::optional<QueryItems>& queryItems,
                                          const JsonValue* body) const;
    void perform(HttpRequest request, const ProgressReceiver& progress,
                 Completion<Response> completion);
    template <class Record>
    void performForRecord(HttpRequest request, const ProgressReceiver& progress,
                          Completion<Record> completion);

    const std::string accessToken_;
};

} // namespace cirrus
