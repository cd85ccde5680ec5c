#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Cirrus/Error.h>
#include <Cirrus/Failure.h>
#include <Cirrus/Progress.h>

#include "Cirrus/webservice/Webservice.h"

namespace cirrus {

/// Uploads files into one Drive folder, strictly one after another. A file that fails does not
/// stop the others; the outcome says only whether all succeeded. Always held by
/// `std::shared_ptr`; one run per object. If the last reference is released while a file is in
/// flight, no further step is taken and the handler is never called. A step runs on the thread of
/// the event that starts it.
class FileUploader : public std::enable_shared_from_this<FileUploader> {
public:
    struct Error {
        enum class Case {
            /// A web service operation failed; only ever the outcome of one file.
            underlying,
            /// A file could not be read; as the outcome of the run, any file failed.
            missingFile,
            /// Part of the type, but never used: an unreadable size counts as 0.
            missingFilesize
        };

        Case kind = Case::missingFile;
        /// What failed; of an unreadable file, only `failedFiles` tells it.
        std::optional<AnyError> cause = std::nullopt;

        /// The case's name and, in parentheses, the diagnostic text of what it carries.
        [[nodiscard]] std::string diagnosticText() const;
    };

    using Completion = std::function<void(Result<void, Error>)>;

    /// Reads each file's size; a file that is missing or unreadable is kept and tried all the same.
    FileUploader(const std::vector<std::filesystem::path>& files,
                 std::shared_ptr<Webservice> webservice, std::string parentIdentifier);

    /// Starts with the first file. The handler is called at most once, on the thread of the last
    /// step: before this returns if there is no file, and never once cancelled.
    void upload(Completion completionHandler);

    /// No further file is started and the handler is never called. The file in flight continues.
    /// Safe from any thread.
    void cancel();

    /// What failed, in order. Only once the handler has been called.
    [[nodiscard]] std::vector<FailedFile> failedFiles() const;

    /// The progress of the whole run: 100 units a file. A file that fails before its content is
    /// sent adds nothing, so the fraction then never reaches 1.
    [[nodiscard]] const std::shared_ptr<Progress>& progress() const { return progress_; }

private:
    struct Item {
        std::filesystem::path path;
        std::uint64_t filesize = 0;

        friend bool operator==(const Item&, const Item&) = default;
    };

    struct FailedItem {
        Item item;
        Error error;
    };

    using ItemCompletion = std::function<void(Result<File, Error>)>;

    void uploadNextItem();
    void upload(const Item& item, ItemCompletion completion);
    static void uploadContent(const std::weak_ptr<FileUploader>& uploader, const Item& item,
                              const Url& to, ItemCompletion completion);
    static void itemDidEnd(const std::weak_ptr<FileUploader>& uploader, const Item& item,
                           const Result<File, Error>& result);
    void finish();

    const std::string parentIdentifier_;
    const std::shared_ptr<Webservice> webservice_;
    const std::shared_ptr<Progress> progress_;
    const std::size_t fileCount_;
    // Each step starts after the one before has ended, so the lists need no lock. Every file is in
    // exactly one of them.
    std::deque<Item> pendingItems_; ///< the first one is in flight
    std::vector<Item> finishedItems_;
    std::vector<FailedItem> failedItems_;
    std::atomic<bool> isCancelled_ = false;
    Completion completionHandler_;
};

} // namespace cirrus
