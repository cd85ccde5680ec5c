#include "emulator/DriveState.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include "emulator/Crypto.h"

namespace cirrus::emulator {

const File* Snapshot::file(std::string_view id) const {
    const auto found = std::ranges::find(files, id, &File::id);
    return found != files.end() ? &*found : nullptr;
}

std::string Snapshot::pathOf(const File& file) const {
    std::string path = file.name;
    const File* at = &file;
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
    // Waiters can not look before the lock is released, which is after the change.
    changed_.notify_all();
    return apply();
}

File* DriveState::findHeld(std::string_view id) {
    if (id == "root" || id == root_.id) {
        return &root_;
    }
    const auto found = std::ranges::find(held_.files, id, &File::id);
    return found != held_.files.end() ? &*found : nullptr;
}

std::expected<FileMetadata, UnknownParent> DriveState::placed(FileMetadata metadata) {
    if (metadata.parents.empty()) {
        metadata.parents.push_back(root_.id);
    }
    for (std::string& parent : metadata.parents) {
        const File* folder = findHeld(parent);
        if (folder == nullptr) {
            return std::unexpected(UnknownParent{parent});
        }
        parent = folder->id;
    }
    return metadata;
}

File& DriveState::add(FileMetadata metadata, Content content) {
    File& file = held_.files.emplace_back();
    file.id = randomIdentifier();
    file.name = std::move(metadata.name);
    file.mimeType = std::move(metadata.mimeType);
    file.parents = std::move(metadata.parents);
    file.content = std::move(content);
    return file;
}

std::optional<File> DriveState::find(std::string_view id) const {
    const std::scoped_lock lock(mutex_);
    if (id == "root" || id == root_.id) {
        return root_;
    }
    const File* file = held_.file(id);
    return file != nullptr ? std::optional(*file) : std::nullopt;
}

std::vector<File> DriveState::search(const FileFilter& filter) const {
    const std::scoped_lock lock(mutex_);
    std::vector<File> found;
    // Drive lists by recency when it is not told an order.
    for (const File& file : held_.files | std::views::reverse) {
        if (filter(file)) {
            found.push_back(file);
        }
    }
    return found;
}

std::string DriveState::rootId() const {
    return root_.id;
}

std::expected<File, UnknownParent> DriveState::addFile(FileMetadata metadata, Content content) {
    return change([&]() -> std::expected<File, UnknownParent> {
        auto ready = placed(std::move(metadata));
        if (!ready) {
            return std::unexpected(std::move(ready.error()));
        }
        return add(std::move(*ready), std::move(content));
    });
}

std::expected<std::string, UnknownParent> DriveState::openSession(FileMetadata metadata) {
    return change([&]() -> std::expected<std::string, UnknownParent> {
        auto ready = placed(std::move(metadata));
        if (!ready) {
            return std::unexpected(std::move(ready.error()));
        }
        std::string uploadId = randomIdentifier();
        held_.openSessions.emplace(uploadId, std::move(*ready));
        return uploadId;
    });
}

std::optional<File> DriveState::finishSession(std::string_view uploadId, Content content) {
    return change([&]() -> std::optional<File> {
        const auto session = held_.openSessions.find(uploadId);
        if (session == held_.openSessions.end()) {
            return std::nullopt;
        }
        FileMetadata metadata = std::move(session->second);
        held_.openSessions.erase(session);
        return add(std::move(metadata), std::move(content));
    });
}

bool DriveState::setPermission(std::string_view fileId, Permission permission) {
    return change([&] {
        File* file = findHeld(fileId);
        if (file == nullptr) {
            return false;
        }
        const auto held = std::ranges::find(file->permissions, permission.id, &Permission::id);
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
        File* file = findHeld(fileId);
        if (file != nullptr) {
            file->trashed = true;
        }
        return file != nullptr;
    });
}

std::size_t DriveState::recordRequest(Request request) {
    return change([&] {
        held_.requests.push_back({std::move(request), std::nullopt});
        return held_.requests.size() - 1;
    });
}

void DriveState::recordStatus(std::size_t place, unsigned status) {
    change([&] { held_.requests[place].status = status; });
}

void DriveState::countAccepted() {
    change([&] {
        ++held_.connectionsAccepted;
        ++held_.connectionsOpen;
    });
}

void DriveState::countHandshake() {
    change([&] { ++held_.tlsHandshakes; });
}

void DriveState::countClosed() {
    change([&] { --held_.connectionsOpen; });
}

void DriveState::countBodyBytes(std::uint64_t size) {
    change([&] { held_.bodyBytesReceived += size; });
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
