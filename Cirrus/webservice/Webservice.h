#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Cirrus/platform/files/SharedBytes.h"
#include "Cirrus/records/File.h"
#include "Cirrus/records/FileList.h"
#include "Cirrus/records/Permission.h"
#include "Cirrus/webservice/WebserviceError.h"
#include <Cirrus/Error.h>
#include <Cirrus/Progress.h>
#include <Cirrus/Url.h>

namespace cirrus {

/// The six Drive operations that a share job needs. Each returns at once and later calls its
/// completion once, with a value or a `WebserviceError`, on a thread of `HttpSession::start`; never
/// if the service object is gone by then, which a request in flight does not keep alive. Nothing is
/// retried, logged or cancelled here.
class Webservice {
public:
    template <class Value>
    using Completion = std::function<void(Result<Value, WebserviceError>)>;

    /// Receives the progress object of a transfer, once, before the transfer starts and on the
    /// caller's thread.
    using ProgressReceiver = std::function<void(const std::shared_ptr<Progress>&)>;

    virtual ~Webservice() = default;

    /// Searches for folders of exactly this name, anywhere. The name goes into the search
    /// expression unescaped. Finding none is a success. Only the first page of results is seen.
    virtual void findDirectory(const std::string& name, Completion<FileList> completion) = 0;

    /// Creates a folder, inside the given one or, without one, at the top level.
    virtual void createDirectory(const std::string& name,
                                 const std::optional<std::string>& parentIdentifier,
                                 Completion<File> completion) = 0;

    /// Opens an upload session for a file of `filesize` bytes in the given folder; gives the
    /// address that takes its content, once. `invalidResponse` when the answer names no address.
    virtual void createUploadUrl(const std::string& name, std::int64_t filesize,
                                 const std::string& parentIdentifier,
                                 Completion<Url> completion) = 0;

    /// Sends a file's whole content to its session, in one request. The bytes are released before
    /// the completion runs. `progress` may be empty.
    virtual void upload(SharedBytes data, const Url& to, const ProgressReceiver& progress,
                        Completion<File> completion) = 0;

    /// Grants a permission on a file or folder. The expiration is sent in the system's time zone,
    /// to whole seconds.
    virtual void createPermission(const std::string& fileIdentifier, const std::string& role,
                                  const std::string& type, const std::optional<std::string>& email,
                                  const std::optional<std::string>& emailMessage,
                                  std::optional<std::chrono::system_clock::time_point> expiration,
                                  Completion<Permission> completion) = 0;

    /// Fetches a file or folder with its links; either may be absent.
    virtual void requestFile(const std::string& fileIdentifier, Completion<File> completion) = 0;
};

} // namespace cirrus
