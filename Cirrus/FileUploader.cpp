#include "Cirrus/FileUploader.h"

#include <array>
#include <cassert>

#include <Cirrus/MainQueue.h>

#include "Cirrus/Log.h"
#include "Cirrus/platform/files/FileContents.h"

namespace cirrus {

namespace {

/// Every file weighs the same in the progress, whatever its size.
constexpr std::uint64_t unitsPerFile = 100;

std::string nameOf(FileUploader::Error::Case kind) {
    constexpr std::array names{"underlying", "missingFile", "missingFilesize"};
    return names.at(static_cast<std::size_t>(kind));
}

} // namespace

std::string FileUploader::Error::diagnosticText() const {
    return caseText(nameOf(kind), kind == Case::underlying ? cause : std::nullopt);
}

FileUploader::FileUploader(const std::vector<std::filesystem::path>& files,
                           std::shared_ptr<Webservice> webservice, std::string parentIdentifier)
    : parentIdentifier_(std::move(parentIdentifier)),
      webservice_(std::move(webservice)),
      progress_(Progress::create(files.size() * unitsPerFile)),
      fileCount_(files.size()) {
    for (const auto& file : files) {
        pendingItems_.push_back({.path = file, .filesize = fileSize(file).value_or(0)});
    }
}

void FileUploader::upload(Completion completionHandler) {
    logDetail("upload(completionHandler:)");
    completionHandler_ = std::move(completionHandler);
    uploadNextItem();
}

void FileUploader::cancel() {
    logDetail("cancel()");
    isCancelled_ = true;
}

void FileUploader::uploadNextItem() {
    constexpr auto name = "uploadNextItem()";
    logDetail(name);
    if (isCancelled_) {
        logNotice(name, "Upload is cancelled");
        return;
    }
    if (pendingItems_.empty()) {
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
    logDetail(name);
    webservice_->createUploadUrl(
        lastPathComponent(item.path), static_cast<std::int64_t>(item.filesize), parentIdentifier_,
        [uploader = weak_from_this(), item,
         completion = std::move(completion)](const Result<Url, WebserviceError>& result) {
            if (!result) {
                logFailure(name, "Failed to create upload URL, error: ", result.error());
                completion(
                    std::unexpected(Error{Error::Case::underlying, anyError(result.error())}));
                return;
            }
            logDetail(name, "Finished creating upload URL, proceeding to upload content...");
            uploadContent(uploader, item, *result, completion);
        });
}

/// Holds the uploader weakly while it reads, which can take long: a job that has ended meanwhile
/// sends nothing more.
void FileUploader::uploadContent(const std::weak_ptr<FileUploader>& uploader, const Item& item,
                                 const Url& to, ItemCompletion completion) {
    constexpr auto name = "uploadContent(of:to:completion:)";
    if (uploader.expired()) {
        return;
    }
    logDetail(name);
    auto data = readFile(item.path);
    if (!data) {
        logFailure(name, "Could not read contents of file ", item.path, ", error: ", data.error());
        MainQueue::post([completion = std::move(completion), cause = anyError(data.error())] {
            completion(std::unexpected(Error{Error::Case::missingFile, cause}));
        });
        return;
    }
    const auto remaining = uploader.lock();
    if (!remaining) {
        return;
    }
    remaining->webservice_->upload(
        *std::move(data), to,
        [uploader](const std::shared_ptr<Progress>& progress) {
            if (const auto self = uploader.lock()) {
                self->progress_->addChild(progress, unitsPerFile);
            }
        },
        [completion = std::move(completion)](const Result<File, WebserviceError>& result) {
            if (!result) {
                logFailure(name, "Failed to upload file with error: ", result.error());
                completion(
                    std::unexpected(Error{Error::Case::underlying, anyError(result.error())}));
                return;
            }
            logDetail(name, "Finished uploading file");
            completion(*result);
        });
}

/// Records the outcome of the file in flight and goes on. The uploader may go away at any moment.
void FileUploader::itemDidEnd(const std::weak_ptr<FileUploader>& uploader, const Item& item,
                              const Result<File, Error>& result) {
    if (const auto self = uploader.lock()) {
        assert(!self->pendingItems_.empty() && self->pendingItems_.front() == item);
        self->pendingItems_.pop_front();
        if (result) {
            self->finishedItems_.push_back(item);
        } else {
            self->failedItems_.push_back({.item = item, .error = result.error()});
        }
        assert(self->pendingItems_.size() + self->finishedItems_.size() +
                   self->failedItems_.size() ==
               self->fileCount_);
    }
    if (const auto self = uploader.lock()) {
        self->uploadNextItem();
    }
}

std::vector<FailedFile> FileUploader::failedFiles() const {
    std::vector<FailedFile> files;
    files.reserve(failedItems_.size());
    for (const auto& [item, error] : failedItems_) {
        assert(error.cause);              // every outcome of a single file has one
        const auto& cause = *error.cause; // NOLINT(bugprone-unchecked-optional-access)
        files.push_back(
            {.path = item.path,
             .reason = error.kind == Error::Case::underlying ? reasonOf(cause)
                                                             : FailureReason::unreadableFile,
             .serviceCode = serviceCodeOf(cause),
             .errorDescription =
                 cause.held().errorDescription("The file could not be read.").value_or(""),
             .diagnosticText = caseText(nameOf(error.kind), cause)});
    }
    return files;
}

void FileUploader::finish() {
    logDetail("finish()");
    if (isCancelled_) {
        return;
    }
    if (const auto handler = std::exchange(completionHandler_, nullptr)) {
        handler(failedItems_.empty() ? Result<void, Error>()
                                     : std::unexpected(Error{Error::Case::missingFile}));
    }
}

} // namespace cirrus
