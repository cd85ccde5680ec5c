#include "Cirrus/FileUploader.h"

#include "Cirrus/Log.h"
#include "Cirrus/platform/MainQueue.h"

namespace cirrus {

namespace {

constexpr UnitLog unitLog("Cirrus/FileUploader.cpp");

/// Every file weighs the same in the progress, whatever its size.
constexpr std::uint64_t unitsPerFile = 100;

} // namespace

std::string FileUploader::Error::diagnosticText() const {
    switch (kind()) {
    case Case::underlying:
        return "underlying(" + std::get<AnyError>(value_).diagnosticText() + ")";
    case Case::missingFile:
        return "missingFile";
    case Case::missingFilesize:
        break;
    }
    return "missingFilesize";
}

FileUploader::FileUploader(const Files& files, std::shared_ptr<Webservice> webservice,
                           std::string parentIdentifier)
    : parentIdentifier_(std::move(parentIdentifier)),
      webservice_(std::move(webservice)),
      progress_(Progress::create(files->size() * unitsPerFile)) {
    for (const auto& file : *files) {
        pendingItems_.push_back({.url = {files, &file}, .filesize = fileSize(file).value_or(0)});
    }
}

void FileUploader::upload(CompletionHandler completionHandler) {
    unitLog.detail("upload(completionHandler:)");
    completionHandler_ = std::move(completionHandler);
    uploadNextItem();
}

void FileUploader::cancel() {
    unitLog.detail("cancel()");
    isCancelled_ = true;
}

void FileUploader::uploadNextItem() {
    constexpr auto name = "uploadNextItem()";
    unitLog.detail(name);
    if (isCancelled_) {
        unitLog.notice(name, "Upload is cancelled");
        reader_ = {};
        return;
    }
    if (pendingItems_.empty()) {
        reader_ = {};
        finish();
        return;
    }
    const auto item = pendingItems_.front();
    upload(item, [uploader = weak_from_this(), item](const Result<File, Error>& result) {
        itemDidEnd(uploader, item, result);
    });
}

void FileUploader::upload(const Item& item, ItemCompletion completion) {
    constexpr auto name = "upload(_:completion:)";
    unitLog.detail(name);
    webservice_->createUploadUrl(
        lastPathComponent(*item.url), static_cast<std::int64_t>(item.filesize), parentIdentifier_,
        [uploader = weak_from_this(), item,
         completion = std::move(completion)](Result<Url, WebserviceError> result) mutable {
            if (!result) {
                unitLog.failure(name, "Failed to create upload URL, error: ", result.error());
                completion(std::unexpected(Error::underlying(AnyError(std::move(result).error()))));
                return;
            }
            unitLog.detail(name, "Finished creating upload URL, proceeding to upload content...");
            if (const auto self = uploader.lock()) {
                self->uploadContent(item, *std::move(result), std::move(completion));
            }
        });
}

void FileUploader::uploadContent(const Item& item, Url to, ItemCompletion completion) {
    constexpr auto name = "uploadContent(of:to:completion:)";
    unitLog.detail(name);
    auto data = reader_.read(*item.url);
    if (!data) {
        unitLog.failure(name, "Could not read contents of file ", *item.url,
                        ", error: ", data.error());
        MainQueue::post([completion = std::move(completion)]() mutable {
            completion(std::unexpected(Error::missingFile()));
        });
        return;
    }
    webservice_->upload(
        *std::move(data), std::move(to),
        [uploader = weak_from_this()](const std::shared_ptr<Progress>& progress) {
            if (const auto self = uploader.lock()) {
                self->progress_->addChild(progress, unitsPerFile);
            }
        },
        [completion = std::move(completion)](Result<File, WebserviceError> result) mutable {
            if (!result) {
                unitLog.failure(name, "Failed to upload file with error: ", result.error());
                completion(std::unexpected(Error::underlying(AnyError(std::move(result).error()))));
                return;
            }
            unitLog.detail(name, "Finished uploading file");
            completion(*std::move(result));
        });
}

/// Records the outcome of the file in flight and goes on. The uploader may go away at any moment.
void FileUploader::itemDidEnd(const std::weak_ptr<FileUploader>& uploader, const Item& item,
                              const Result<File, Error>& result) {
    if (const auto self = uploader.lock()) {
        self->pendingItems_.pop_front();
        (result ? self->finishedItems_ : self->failedItems_).push_back(item);
    }
    if (const auto self = uploader.lock()) {
        self->uploadNextItem();
    }
}

void FileUploader::finish() {
    unitLog.detail("finish()");
    if (isCancelled_) {
        return;
    }
    if (auto handler = std::exchange(completionHandler_, nullptr)) {
        handler(failedItems_.empty() ? Result<void, Error>()
                                     : std::unexpected(Error::missingFile()));
    }
}

} // namespace cirrus
