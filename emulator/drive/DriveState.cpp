#include "emulator/drive/DriveState.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include "emulator/Crypto.h"

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

DriveState::DriveState() {
    root_.id = randomIdentifier();
    root_.name = "My Drive";
    root_.mimeType = folderMimeType;
    held_.rootId = root_.id;
}

template <class Change>
auto DriveState::change(Change apply) {
    const std::scoped_lock lock(mutex_);
    // Waiters need the lock to look, so they see the change although they are woken before it.
    changed_.notify_all();
    return apply();
}

DriveFile* DriveState::findForChange(std::string_view id) {
    if (id == "root" || id == root_.id) {
        return &root_;
    }
    const auto found = std::ranges::find(held_.files, id, &DriveFile::id);
    return found != held_.files.end() ? &*found : nullptr;
}

std::expected<FileMetadata, BadParent> DriveState::withFolders(FileMetadata metadata) {
    if (metadata.parents.empty()) {
        metadata.parents.push_back(root_.id);
    }
    for (std::string& parent : metadata.parents) {
        const DriveFile* folder = findForChange(parent);
        if (folder == nullptr || !folder->isFolder()) {
            return std::unexpected(BadParent{.id = parent, .exists = folder != nullptr});
        }
        parent = folder->id;
    }
    return metadata;
}

DriveFile& DriveState::add(FileMetadata metadata, Content content) {
    DriveFile& file = held_.files.emplace_back();
    file.id = randomIdentifier();
    file.name = std::move(metadata.name);
    file.mimeType = std::move(metadata.mimeType);
    file.parents = std::move(metadata.parents);
    file.content = std::move(content);
    return file;
}

std::optional<DriveFile> DriveState::find(std::string_view id) const {
    const std::scoped_lock lock(mutex_);
    if (id == "root" || id == root_.id) {
        return root_;
    }
    const DriveFile* file = held_.file(id);
    return file != nullptr ? std::optional(*file) : std::nullopt;
}

std::vector<DriveFile> DriveState::search(const FileFilter& filter) const {
    const std::scoped_lock lock(mutex_);
    std::vector<DriveFile> found;
    // Drive lists the newest first unless the request names an order.
    for (const DriveFile& file : held_.files | std::views::reverse) {
        if (filter(file)) {
            found.push_back(file);
        }
    }
    return found;
}

std::string DriveState::rootId() const {
    return root_.id;
}

std::expected<DriveFile, BadParent> DriveState::addFile(FileMetadata metadata, Content content) {
    return change([&]() -> std::expected<DriveFile, BadParent> {
        auto ready = withFolders(std::move(metadata));
        if (!ready) {
            return std::unexpected(std::move(ready.error()));
        }
        return add(std::move(*ready), std::move(content));
    });
}

std::expected<std::string, BadParent> DriveState::openSession(FileMetadata metadata) {
    return change([&]() -> std::expected<std::string, BadParent> {
        auto ready = withFolders(std::move(metadata));
        if (!ready) {
            return std::unexpected(std::move(ready.error()));
        }
        std::string uploadId = randomIdentifier();
        held_.openSessions.emplace(uploadId, std::move(*ready));
        return uploadId;
    });
}

std::optional<DriveFile> DriveState::finishSession(std::string_view uploadId, Content content) {
    return change([&]() -> std::optional<DriveFile> {
        const auto session = held_.openSessions.find(uploadId);
        if (session == held_.openSessions.end()) {
            return std::nullopt;
        }
        FileMetadata metadata = std::move(session->second);
        held_.openSessions.erase(session);
        return add(std::move(metadata), std::move(content));
    });
}

bool DriveState::setPermission(std::string_view fileId, DrivePermission permission) {
    return change([&] {
        DriveFile* file = findForChange(fileId);
        if (file == nullptr) {
            return false;
        }
        const auto held = std::ranges::find(file->permissions, permission.id, &DrivePermission::id);
        if (held != file->permissions.end()) {
            *held = std::move(permission);
        } else {
            file->permissions.push_back(std::move(permission));
        }
        return true;
    });
}

bool DriveState::trash(std::string_view fileId) {
    return change([&] {
        DriveFile* file = findForChange(fileId);
        if (file != nullptr) {
            file->trashed = true;
        }
        return file != nullptr;
    });
}

void DriveState::record(const std::function<void(Snapshot&)>& event) {
    change([&] { event(held_); });
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
