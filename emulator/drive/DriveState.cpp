#include "emulator/drive/DriveState.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include "emulator/Crypto.h"
#include "emulator/drive/DriveError.h"

namespace cirrus::emulator {

const DriveFile* Snapshot::file(std::string_view id) const {
    const auto found = std::ranges::find(files, id, &DriveFile::id);
    return found != files.end() ? &*found : nullptr;
}

std::string Snapshot::pathOf(const DriveFile& file) const {
    std::string path = file.name;
    const DriveFile* at = &file;
    while (!at->parents.empty() && (at = this->file(at->parents.front())) != nullptr) {
        path.insert(0, at->name + "/");
    }
    return path;
}

DriveState::DriveState()
    : root_{.id = randomIdentifier(), .name = "My Drive", .mimeType = std::string(folderMimeType)} {
}

std::unique_lock<std::mutex> DriveState::lockForChange() {
    std::unique_lock lock(mutex_);
    // Waiters need the lock to look, so they see the change although they are woken before it.
    changed_.notify_all();
    return lock;
}

DriveFile& DriveState::existing(std::string_view id) {
    if (id == "root" || id == root_.id) {
        return root_;
    }
    const auto found = std::ranges::find(held_.files, id, &DriveFile::id);
    if (found == held_.files.end()) {
        throw DriveError(404, "notFound", "File not found: " + std::string(id) + ".");
    }
    return *found;
}

void DriveState::placeInFolders(DriveFile& file) {
    if (file.parents.empty()) {
        file.parents.emplace_back("root");
    }
    for (std::string& parent : file.parents) {
        const DriveFile& folder = existing(parent);
        if (!folder.isFolder()) {
            throw DriveError(403, "parentNotAFolder", "The specified parent is not a folder.");
        }
        parent = folder.id;
    }
}

DriveFile DriveState::add(DriveFile file) {
    file.id = randomIdentifier();
    return held_.files.emplace_back(std::move(file));
}

DriveFile DriveState::find(std::string_view id) {
    const std::scoped_lock lock(mutex_);
    return existing(id);
}

std::vector<DriveFile> DriveState::search(const FileFilter& filter) const {
    const std::scoped_lock lock(mutex_);
    std::vector<DriveFile> found;
    // Drive lists the newest first unless the request names an order.
    std::ranges::copy_if(held_.files | std::views::reverse, std::back_inserter(found), filter);
    return found;
}

DriveFile DriveState::addFile(DriveFile file) {
    const auto lock = lockForChange();
    placeInFolders(file);
    return add(std::move(file));
}

std::string DriveState::openSession(DriveFile file) {
    const auto lock = lockForChange();
    placeInFolders(file);
    std::string uploadId = randomIdentifier();
    sessions_.emplace(uploadId, std::move(file));
    return uploadId;
}

DriveFile DriveState::finishSession(std::string_view uploadId, Content content) {
    const auto lock = lockForChange();
    const auto session = sessions_.find(uploadId);
    if (session == sessions_.end()) {
        throw DriveError(404, "notFound", "Upload session not found");
    }
    DriveFile file = std::move(session->second);
    sessions_.erase(session);
    file.content = std::move(content);
    return add(std::move(file));
}

void DriveState::setPermission(std::string_view fileId, DrivePermission permission) {
    const auto lock = lockForChange();
    auto& permissions = existing(fileId).permissions;
    std::erase_if(permissions, [&](const auto& held) { return held.id == permission.id; });
    permissions.push_back(std::move(permission));
}

void DriveState::trash(std::string_view fileId) {
    const auto lock = lockForChange();
    existing(fileId).trashed = true;
}

void DriveState::record(const std::function<void(Snapshot&)>& event) {
    const auto lock = lockForChange();
    event(held_);
}

Snapshot DriveState::snapshot() const {
    const std::scoped_lock lock(mutex_);
    return held_;
}

bool DriveState::waitUntil(std::chrono::milliseconds limit,
                           const std::function<bool(const Snapshot&)>& predicate) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return predicate(held_); });
}

} // namespace cirrus::emulator
