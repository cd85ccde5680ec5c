#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Cirrus/emulator/Content.h>
#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// The MIME type that Drive gives folders.
inline constexpr std::string_view folderMimeType = "application/vnd.google-apps.folder";

/// A permission on a file or folder.
struct DrivePermission {
    std::string id;   ///< "anyoneWithLink" if for everybody, otherwise random
    std::string type; ///< such as "user" or "anyone"
    std::string role; ///< such as "reader"
    std::optional<std::string> emailAddress;   ///< of the person or group it is for
    std::optional<std::string> emailMessage;   ///< text of the notification
    std::optional<std::string> expirationTime; ///< as the client wrote it
    std::optional<std::chrono::system_clock::time_point> expiresAt; ///< the same as a point in time
};

/// A file or a folder.
struct DriveFile {
    std::string id = {};                           ///< random
    std::string name = {};                         ///< several files may have the same
    std::string mimeType = {};                     ///< `folderMimeType` for a folder
    std::vector<std::string> parents = {};         ///< ids of folders
    Content content = {};                          ///< as uploaded
    std::vector<DrivePermission> permissions = {}; ///< in order of creation
    bool trashed = false;                          ///< whether it is in the trash

    /// Whether it is a folder.
    [[nodiscard]] bool isFolder() const { return mimeType == folderMimeType; }
};

/// A request with the status it was answered with.
struct RecordedRequest : Request {
    /// Recorded before the answer is sent. nullopt while there is no answer, and if nothing or raw
    /// bytes are sent.
    std::optional<unsigned> status;
};

/// Everything that an emulator holds and has received at one moment. A plain value: it does not
/// change afterwards.
struct Snapshot {
    std::vector<DriveFile> files;          ///< without the top folder, in order of creation
    std::vector<RecordedRequest> requests; ///< in the order in which their reading ended
    std::uint64_t connectionsAccepted = 0; ///< since the start
    /// What the last handshake offered to speak, each with its length in a byte before it.
    std::string protocolsOffered;

    /// The file or folder with this id; null if there is none. It lives as long as the snapshot.
    [[nodiscard]] const DriveFile* file(std::string_view id) const;

    /// The names of the folders below the root and of the file, joined by slashes.
    [[nodiscard]] std::string pathOf(const DriveFile& file) const;
};

} // namespace cirrus::emulator
