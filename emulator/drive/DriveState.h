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

#include <Cirrus/emulator/Snapshot.h>

namespace cirrus::emulator {

/// Why a file cannot be created in a parent.
struct BadParent {
    std::string id;      ///< of the parent
    bool exists = false; ///< true: it is a plain file
};

using FileFilter = std::function<bool(const DriveFile&)>;

/// The files of one Drive, and a record of all requests. Safe from any thread.
class DriveState {
public:
    DriveState();

    /// The file with this id; `root` stands for the root folder.
    [[nodiscard]] std::optional<DriveFile> find(std::string_view id) const;
    /// The files that pass the filter, newest first.
    [[nodiscard]] std::vector<DriveFile> search(const FileFilter& filter) const;
    [[nodiscard]] std::string rootId() const;

    std::expected<DriveFile, BadParent> addFile(FileMetadata metadata, Content content);
    /// Returns the upload id.
    std::expected<std::string, BadParent> openSession(FileMetadata metadata);
    /// Creates the session's file and ends the session; nullopt if there is no such session.
    std::optional<DriveFile> finishSession(std::string_view uploadId, Content content);
    /// Adds a permission or replaces the one with its id. False if there is no such file.
    bool setPermission(std::string_view fileId, DrivePermission permission);
    /// False if there is no such file.
    bool trash(std::string_view fileId);

    /// Adds what the server has seen to the record. `event` runs under the lock: it must not call
    /// back.
    void record(const std::function<void(Snapshot&)>& event);

    [[nodiscard]] Snapshot snapshot() const;
    /// Waits until the predicate holds; false if it does not within the limit. The predicate runs
    /// under the lock: it must not call back.
    bool waitUntil(std::chrono::milliseconds limit,
                   const std::function<bool(const Snapshot&)>& predicate) const;

private:
    template <class Change>
    auto change(Change apply);
    DriveFile* findForChange(std::string_view id);
    /// Puts the ids of existing folders in for the parents; without parents, the root.
    std::expected<FileMetadata, BadParent> withFolders(FileMetadata metadata);
    DriveFile& add(FileMetadata metadata, Content content);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    DriveFile root_;
    Snapshot held_;
};

} // namespace cirrus::emulator
