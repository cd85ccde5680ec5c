#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Cirrus/platform/Error.h"
#include "Cirrus/platform/FileContents.h"
#include "Cirrus/platform/Progress.h"
#include "Cirrus/webservice/Webservice.h"

namespace cirrus {

/// Uploads files into one Drive folder, strictly one after another. A file that fails does not
/// stop the others; the outcome says only whether all succeeded. Always held by
/// `std::shared_ptr`; one run per object. When the last reference goes while a file is on its
/// way, no further step is taken and the handler is never called.
///
/// Its steps run on whatever thread delivers the event that starts them: the caller's, the
/// transport's callback thread or, after a file that can not be read, the main queue.
class FileUploader : public std::enable_shared_from_this<FileUploader> {
public:
    class Error {
    public:
        enum class Case {
            /// A web service operation failed; only ever the outcome of one file.
            underlying,
            /// A file could not be read; as the outcome of the run, any file failed.
            missingFile,
            /// Part of the type; nothing gives it, since an unreadable size counts as 0.
            missingFilesize
        };

        [[nodiscard]] static Error underlying(AnyError error) { return Error(std::move(error)); }

        [[nodiscard]] static Error missingFile() { return Error(MissingFile{}); }

        [[nodiscard]] static Error missingFilesize() { return Error(MissingFilesize{}); }

        [[nodiscard]] Case kind() const { return static_cast<Case>(value_.index()); }

        /// The case's name and, in parentheses, the diagnostic text of what it carries.
        [[nodiscard]] std::string diagnosticText() const;

    private:
        struct MissingFile {};

        struct MissingFilesize {};

        /// In the order of `Case`.
        using Value = std::variant<AnyError, MissingFile, MissingFilesize>;

        explicit Error(Value value) : value_(std::move(value)) {}

        Value value_;
    };

    using CompletionHandler = std::move_only_function<void(Result<void, Error>)>;

    using Files = std::shared_ptr<const std::vector<std::filesystem::path>>;

    /// Reads each file's size; a file that is missing or unreadable is kept and tried all the same.
    FileUploader(const Files& files, std::shared_ptr<Webservice> webservice,
                 std::string parentIdentifier);

    /// Starts with the first file. The handler is called at most once, on the thread of the last
    /// step: before this returns when there is no file, never once cancelled.
    void upload(CompletionHandler completionHandler);

    /// No further file is started and the handler is never called. The file on its way goes on.
    /// Safe from any thread.
    void cancel();

    /// The progress of the whole run: 100 units a file. A file that fails before its content is
    /// sent adds nothing, so that the fraction then never reaches 1.
    [[nodiscard]] const std::shared_ptr<Progress>& progress() const { return progress_; }

private:
    struct Item {
        /// One of the files, all of which it keeps: the uploader or the step may end first.
        std::shared_ptr<const std::filesystem::path> url;
        std::uint64_t filesize = 0;

        friend bool operator==(const Item& left, const Item& right) {
            return *left.url == *right.url && left.filesize == right.filesize;
        }
    };

    using ItemCompletion = std::move_only_function<void(Result<File, Error>)>;

    void uploadNextItem();
    void upload(const Item& item, ItemCompletion completion);
    void uploadContent(const Item& item, Url to, ItemCompletion completion);
    static void itemDidEnd(const std::weak_ptr<FileUploader>& uploader, const Item& item,
                           const Result<File, Error>& result);
    void finish();

    const std::string parentIdentifier_;
    const std::shared_ptr<Webservice> webservice_;
    const std::shared_ptr<Progress> progress_;
    // Only one step runs at a time, so that none of these needs a lock.
    FileReader reader_;
    std::deque<Item> pendingItems_;
    std::vector<Item> finishedItems_;
    std::vector<Item> failedItems_;
    std::atomic<bool> isCancelled_ = false;
    CompletionHandler completionHandler_;
};

} // namespace cirrus
