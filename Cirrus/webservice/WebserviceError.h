#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <Cirrus/Error.h>
#include <Cirrus/Failure.h>

#include "Cirrus/platform/errors/ErrorKind.h"
#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/records/DecodingError.h"
#include "Cirrus/records/ServiceError.h"

namespace cirrus {

/// A transport error that the user can do something about, with a text that says what.
struct ConnectionError {
    TransportError cause;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const { return cause.diagnosticText(); }

    [[nodiscard]] std::optional<std::string> errorDescription() const { return text; }
};

/// Why a request to the Drive service did not give what it should have given.
class WebserviceError {
public:
    enum class Case {
        /// The service refused the request and said why.
        serviceError,
        /// The service accepted the request, but its answer is not the expected record.
        decodingError,
        /// The transport failed: no connection, idle for too long, certificate and so on.
        underlyingError,
        /// The service accepted the request, but no body came with its answer.
        missingData,
        /// The answer makes no sense: no HTTP answer, an error without the service's envelope,
        /// or no usable address of an upload session.
        invalidResponse
    };

    [[nodiscard]] static WebserviceError serviceError(ServiceError error) {
        return {Case::serviceError, anyError(std::move(error))};
    }

    [[nodiscard]] static WebserviceError decodingError(DecodingError error) {
        return {Case::decodingError, anyError(std::move(error))};
    }

    [[nodiscard]] static WebserviceError underlyingError(AnyError error) {
        return {Case::underlyingError, std::move(error)};
    }

    [[nodiscard]] static WebserviceError missingData() { return {Case::missingData, {}}; }

    [[nodiscard]] static WebserviceError invalidResponse() { return {Case::invalidResponse, {}}; }

    [[nodiscard]] Case kind() const { return kind_; }

    /// The case's name and, in parentheses, the diagnostic text of what it carries.
    [[nodiscard]] std::string diagnosticText() const;

    /// The text for the user; absent only if the transport's error has a text of its own kind and
    /// that is absent.
    [[nodiscard]] std::optional<std::string> errorDescription() const;

    /// The one place that tells what an answer, or its absence, means to a host.
    [[nodiscard]] FailureReason reason() const;

    /// The code in the service's refusal.
    [[nodiscard]] std::optional<std::int64_t> serviceCode() const;

private:
    WebserviceError(Case kind, std::optional<AnyError> carried)
        : kind_(kind), carried_(std::move(carried)) {}

    Case kind_;
    std::optional<AnyError> carried_;
};

/// `reason` and `serviceCode` of a `WebserviceError`; "other" and none for another kind.
[[nodiscard]] FailureReason reasonOf(const AnyError& error);
[[nodiscard]] std::optional<std::int64_t> serviceCodeOf(const AnyError& error);

} // namespace cirrus
