#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace cirrus {

/// Why something failed, for hosts that act on it or say it in their own words. Later versions may
/// add reasons.
enum class FailureReason {
    /// Google could not be reached: no network, no such host, or a proxy of no use.
    offline,
    /// Nothing moved for 10 seconds.
    timedOut,
    /// The server's certificate is not trusted.
    untrustedConnection,
    /// The connection broke; whether the service has done what it was asked is not known.
    connectionLost,
    /// The token is not, or no longer, valid (401): sign in again.
    signedOut,
    /// The service does not allow or accept it (403 and every other 4xx).
    refused,
    /// What the request is about does not exist (404).
    notFound,
    /// Too many requests in a short time (429): try again later.
    tooManyRequests,
    /// The service is in trouble (5xx): try again later.
    serviceTrouble,
    /// An answer that is not the expected one.
    answerNotUnderstood,
    /// One or more files failed; see `ShareController::failedFiles`.
    filesFailed,
    /// The file could not be read; the reason of a single file only.
    unreadableFile,
    /// Everything is uploaded and shared, but the service gave no link.
    noLink,
    /// Anything else: see the diagnostic text.
    other
};

/// A file that was not uploaded.
struct FailedFile {
    std::filesystem::path path;                  ///< as the host gave it
    FailureReason reason = FailureReason::other; ///< why it was not
    /// The code that the service gave with its refusal, as a rule the HTTP status.
    std::optional<std::int64_t> serviceCode;
    std::string
        errorDescription;       ///< for the user, UTF-8, to be shown beside the name; may be empty
    std::string diagnosticText; ///< what happened, for a log
};

} // namespace cirrus
