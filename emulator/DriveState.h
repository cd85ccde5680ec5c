#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "emulator/Content.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

inline constexpr std::string_view folderMimeType = "application/vnd.google-apps.folder";

/// A permission on a file or folder.
struct Permission {
    std::string id;                            ///< "anyoneWithLink" for everybody, else random
    std::string type;                          ///< such as "user" or "anyone"
    std::string role;                          ///< such as "reader"
    std::optional<std::string> emailAddress;   ///< whom it is for
    std::optional<std::string> emailMessage;   ///< of the notification
    std::optional<std::string> expirationTime; ///< as the client wrote it
    std::optional<std::chrono::system_clock::time_point> expiresAt; ///< the same, read
};

/// A file or a folder.
struct File {
    std::string id;                      ///< random
    std::string name;                    ///< need not be the only one of its kind
    std::string mimeType;                ///< `folderMimeType` for a folder
    std::vector<std::string> parents;    ///< ids of folders
    Content content;                     ///< as it was uploaded
    std::vector<Permission> permissions; ///< in the order of their creation
    bool trashed = false;                ///< still there, but in the trash

    /// Whether it is a folder.
    [[nodiscard]] bool isFolder() const { return mimeType == folderMimeType; }
};

/// What a client says about a file before it exists. No parents: in the root.
struct FileMetadata {
    std::string name;                      ///< "Untitled" when the client gave none
    std::string mimeType;                  ///< for a folder `folderMimeType`
    std::vector<std::string> parents = {}; ///< ids of folders
};

/// A parent that does not exist.
struct UnknownParent {
    std::string id; ///< what was asked for
};

/// A request with what became of it.
struct RecordedRequest : Request {
    /// Of the answer, known before the client can see it. None while there is no answer, and when
    /// nothing or raw bytes are sent.
    std::optional<unsigned> status;
};

/// Everything that an emulator holds and has seen at one moment.
struct Snapshot {
    std::string rootId;      ///< of the folder at the top
    std::vector<File> files; ///< without the root, in the order of their creation
    std::map<std::string, FileMetadata, std::less<>> openSessions; ///< by upload id
    std::vector<RecordedRequest> requests; ///< in the order in which their reading ended
    std::uint64_t connectionsAccepted = 0; ///< in all
    std::uint64_t connectionsOpen = 0;     ///< not yet closed by both sides
    std::uint64_t tlsHandshakes = 0;       ///< completed ones
    std::uint64_t bodyBytesReceived = 0;   ///< of all requests, also of those still being read

    /// The file or folder with this id, or null. It lives as long as the snapshot.
    [[nodiscard]] const File* file(std::string_view id) const;

    /// The names from the root down to this file, joined by slashes.
    [[nodiscard]] std::string pathOf(const File& file) const;
};

using FileFilter = std::function<bool(const File&)>;

/// The state of one Drive and the record of what was asked of it. Safe from any thread.
class DriveState {
public:
    DriveState();

    /// The file with this id; `root` names the root folder.
    [[nodiscard]] std::optional<File> find(std::string_view id) const;
    /// The files that pass the filter, the newest first.
    [[nodiscard]] std::vector<File> search(const FileFilter& filter) const;
    [[nodiscard]] std::string rootId() const;

    std::expected<File, UnknownParent> addFile(FileMetadata metadata, Content content);
    /// Returns the upload id.
    std::expected<std::string, UnknownParent> openSession(FileMetadata metadata);
    /// Makes the session's file and ends the session; nothing when there is no such session.
    std::optional<File> finishSession(std::string_view uploadId, Content content);
    /// Adds a permission, or replaces the one with its id. False when there is no such file.
    bool setPermission(std::string_view fileId, Permission permission);
    /// False when there is no such file.
    bool trash(std::string_view fileId);

    /// Returns the place in the record.
    std::size_t recordRequest(Request request);
    void recordStatus(std::size_t place, unsigned status);
    void countAccepted();
    void countHandshake();
    void countClosed();
    void countBodyBytes(std::uint64_t size);

    [[nodiscard]] Snapshot snapshot() const;
    /// Waits until the predicate holds; false when it does not within this time. The predicate
    /// runs under the lock: it must not call back.
    bool waitUntil(std::chrono::milliseconds limit,
                   const std::function<bool(const Snapshot&)>& predicate) const;

private:
    template <class Change>
    auto change(Change apply);
    File* findHeld(std::string_view id);
    std::expected<FileMetadata, UnknownParent> placed(FileMetadata metadata);
    File& add(FileMetadata metadata, Content content);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    File root_;
    Snapshot held_;
};

} // namespace cirrus::emulator
