#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <Cirrus/emulator/Snapshot.h>

namespace cirrus::emulator {

using FileFilter = std::function<bool(const DriveFile&)>;

/// The files of one Drive, and a record of all requests. Safe from any thread. What is told of a
/// file or folder that does not exist throws `DriveError`.
class DriveState {
public:
    DriveState();

    /// The file with this id; `root` stands for the root folder.
    [[nodiscard]] DriveFile find(std::string_view id);
    /// The files that pass the filter, newest first.
    [[nodiscard]] std::vector<DriveFile> search(const FileFilter& filter) const;

    /// Adds a file, which gets its id here. Without parents it goes to the root.
    DriveFile addFile(DriveFile file);
    /// Returns the upload id for a file whose content is still to come.
    std::string openSession(DriveFile file);
    /// Creates the session's file and ends the session.
    DriveFile finishSession(std::string_view uploadId, Content content);
    /// Adds a permission or replaces the one with its id.
    void setPermission(std::string_view fileId, DrivePermission permission);
    void trash(std::string_view fileId);

    /// Adds what the server has seen to the record. `event` runs under the lock: it must not call
    /// back.
    void record(const std::function<void(Snapshot&)>& event);

    [[nodiscard]] Snapshot snapshot() const;
    /// Waits until the predicate holds; false if it does not within the limit. The predicate runs
    /// under the lock: it must not call back.
    bool waitUntil(std::chrono::milliseconds limit,
                   const std::function<bool(const Snapshot&)>& predicate) const;

private:
    [[nodiscard]] std::unique_lock<std::mutex> lockForChange();
    DriveFile& existing(std::string_view id);
    void placeInFolders(DriveFile& file);
    DriveFile add(DriveFile file);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    DriveFile root_;
    Snapshot held_;
    /// The files that have no contents yet, by upload id.
    std::map<std::string, DriveFile, std::less<>> sessions_;
};

} // namespace cirrus::emulator
