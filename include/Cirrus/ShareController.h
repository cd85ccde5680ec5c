#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <Cirrus/Error.h>
#include <Cirrus/Export.h>
#include <Cirrus/Failure.h>
#include <Cirrus/Progress.h>
#include <Cirrus/Url.h>

namespace cirrus {

class ShareJob;

/// Runs one share job: finds or creates the root folder, creates the destination folder in it,
/// uploads the files one after another, shares the folder and fetches its link.
///
/// @code
/// cirrus::ShareController controller({{"a.txt", "b.txt"}, "Stashly", "Photos"}, token);
/// controller.upload(
///     [](const auto& progress) { show(progress->fractionCompleted()); },
///     [](const auto& result) {
///         result ? show(result->text()) : show(result.error().errorDescription());
///     });
/// @endcode
///
/// Destroying the object releases the job: the request in flight is not stopped, no further one is
/// made, and no callback is called. But each call that waits on the main queue, for progress or the
/// outcome, holds the job too: it is still made, and until then the job continues. To end a job
/// without any further callback or request, `cancel`, then destroy, as `ScopedShareController`
/// does.
///
/// Movable, not copyable; a moved-from object has no job, and its operations do nothing.
///
/// Create, use and destroy it on one thread, as a rule the one that runs the `MainQueue`; `cancel`
/// may come from any. All of this is allowed from inside either callback too, and so is a nested
/// event loop there.
class CIRRUS_EXPORT ShareController {
public:
    /// The input of a share job. Nothing of it is checked or normalised.
    class CIRRUS_EXPORT Context {
    public:
        /// - `files`: what to share, in this order;
        /// - `rootDirectoryName`: the top-level folder that holds the folders of all jobs; found
        ///   by its exact name, or created;
        /// - `destinationDirectoryName`: the folder of this job, always created anew;
        /// - `email`: whom to share with; without it, everybody who has the link;
        /// - `emailMessage`: goes with the notification;
        /// - `expiration`: when the permission ends, to whole seconds.
        ///
        /// Texts are UTF-8.
        Context(std::vector<std::filesystem::path> files, const std::string& rootDirectoryName,
                const std::string& destinationDirectoryName,
                const std::optional<std::string>& email = std::nullopt,
                const std::optional<std::string>& emailMessage = std::nullopt,
                std::optional<std::chrono::system_clock::time_point> expiration = std::nullopt);

    private:
        friend class ShareJob;
        std::vector<std::filesystem::path> files_;
        std::string rootDirectoryName_;
        std::string destinationDirectoryName_;
        std::optional<std::string> email_;
        std::optional<std::string> emailMessage_;
        std::optional<std::chrono::system_clock::time_point> expiration_;
    };

    /// Why a job failed. One immutable value; safe to copy, keep and read on any thread.
    class CIRRUS_EXPORT Error {
    public:
        /// What kind of failure it was.
        enum class Case {
            /// A folder, the files, the permission or the link failed; `underlyingError` says how.
            underlying,
            /// Part of the type; no step gives it.
            missingFile,
            /// Everything is uploaded and shared, but the service gave no link.
            missingWebContentLink
        };

        /// An error of the case `underlying` that carries this one.
        [[nodiscard]] static Error underlying(AnyError error) {
            return Error(Case::underlying, std::move(error));
        }

        /// The error of the case `missingFile`.
        [[nodiscard]] static Error missingFile() { return Error(Case::missingFile); }

        /// The error of the case `missingWebContentLink`.
        [[nodiscard]] static Error missingWebContentLink() {
            return Error(Case::missingWebContentLink);
        }

        /// Which case this is.
        [[nodiscard]] Case kind() const { return kind_; }

        /// Why, for hosts that act on it or have words of their own for the user.
        [[nodiscard]] FailureReason reason() const;

        /// The code that the service gave with its refusal, as a rule the HTTP status; absent if it
        /// gave none, and if files failed.
        [[nodiscard]] std::optional<std::int64_t> serviceCode() const;

        /// The error of the lower layer, as it came; null unless `kind` is `underlying`. It lives
        /// as long as this error.
        [[nodiscard]] const AnyError* underlyingError() const {
            return underlying_ ? &*underlying_ : nullptr;
        }

        /// The text for the user, UTF-8, to be shown as it is. Absent only if the underlying error
        /// is of a kind with a text of its own and deliberately gives none.
        [[nodiscard]] std::optional<std::string> errorDescription() const;

        /// What happened, for a log: the case's name and, in parentheses, what it carries.
        [[nodiscard]] std::string diagnosticText() const;

    private:
        explicit Error(Case kind, std::optional<AnyError> underlying = std::nullopt)
            : kind_(kind), underlying_(std::move(underlying)) {}

        Case kind_;
        std::optional<AnyError> underlying_;
    };

    /// Receives the job's one progress object, 100 units a file, at each change of its fraction.
    using ProgressCallback = std::function<void(const std::shared_ptr<const Progress>&)>;
    /// Receives the link of the destination folder, or why there is none.
    using Completion = std::function<void(Result<Url, Error>)>;

    /// Starts nothing. The token is sent unchanged with every request: to Google, and to the
    /// address that Google names for a file's content.
    ShareController(Context context, std::string accessToken);
    ShareController(const ShareController&) = delete;
    ShareController& operator=(const ShareController&) = delete;
    /// Takes over the job, whether it runs or not.
    ShareController(ShareController&& other) noexcept = default;
    /// Releases the job of this object, as its destruction would, and takes over the other's.
    ShareController& operator=(ShareController&& other) noexcept = default;
    ~ShareController() = default;

    /// Starts the job and returns before anything of it is done. Call it once.
    ///
    /// Both callbacks are called on the main queue only, and may be empty. `progress`: any number
    /// of times while the files upload, never before the first change and never after the
    /// completion. `completion`: at most once. Neither is called once `cancel` has returned on the
    /// main queue's thread. What they hold is released on the main queue or inside a call that the
    /// host makes. They must not throw.
    ///
    /// A second call drops the callbacks of the first, uncalled, and runs a second job beside it
    /// that shares its deliveries: the first outcome of either goes to the newest callbacks and
    /// is the only one. A job started from inside the completion runs but reports nothing.
    void upload(ProgressCallback progress, Completion completion) & noexcept;
    void upload(ProgressCallback, Completion) && = delete; // the job would end with the temporary

    /// Neither callback is called any more; called from another thread than the main queue's, one
    /// that has already begun may still be running. No further file is started, but the request in
    /// flight is not stopped, and a job that is still preparing its folders continues with the
    /// files, the permission and the link. To really stop a job, destroy this object as well.
    void cancel() noexcept;

    /// The files that were not uploaded, in their order, from the moment the completion is called;
    /// empty before, after a success, and if the job failed before its first file.
    [[nodiscard]] std::vector<FailedFile> failedFiles() const;

private:
    std::shared_ptr<ShareJob> job_;
};

} // namespace cirrus
