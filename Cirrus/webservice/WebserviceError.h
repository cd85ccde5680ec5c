#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "Cirrus/records/DecodingError.h"
#include "Cirrus/records/ServiceError.h"
#include <Cirrus/Error.h>
#include <Cirrus/Failure.h>

namespace cirrus {

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
        return WebserviceError(std::move(error));
    }

    [[nodiscard]] static WebserviceError decodingError(DecodingError error) {
        return WebserviceError(std::move(error));
    }

    [[nodiscard]] static WebserviceError underlyingError(AnyError error) {
        return WebserviceError(std::move(error));
    }

    [[nodiscard]] static WebserviceError missingData() { return WebserviceError(MissingData{}); }

    [[nodiscard]] static WebserviceError invalidResponse() {
        return WebserviceError(InvalidResponse{});
    }

    [[nodiscard]] Case kind() const { return static_cast<Case>(value_.index()); }

    /// The case's name and, in parentheses, the diagnostic text of what it carries.
    [[nodiscard]] std::string diagnosticText() const;

    /// The one place that tells what an answer, or its absence, means to a host.
    [[nodiscard]] FailureReason reason() const;

    /// The code in the service's refusal.
    [[nodiscard]] std::optional<std::int64_t> serviceCode() const;

    /// The text for the user; absent only if the transport's error has a text of its own kind and
    /// that is absent.
    [[nodiscard]] std::optional<std::string> errorDescription() const;

private:
    struct MissingData {};

    struct InvalidResponse {};

    /// In the order of `Case`.
    using Value = std::variant<ServiceError, DecodingError, AnyError, MissingData, InvalidResponse>;

    explicit WebserviceError(Value value) : value_(std::move(value)) {}

    Value value_;
};

} // namespace cirrus
