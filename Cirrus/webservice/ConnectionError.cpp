#include "Cirrus/webservice/ConnectionError.h"

namespace cirrus {

std::optional<std::string> ConnectionError::errorDescription() const {
    switch (cause.reason) {
    case TransportError::Reason::noConnection:
        return "Could not connect to Google. Check your internet connection and try again.";
    case TransportError::Reason::timedOut:
        return "Google did not answer in time. Check your internet connection and try again.";
    case TransportError::Reason::untrustedCertificate:
        return "The connection to Google is not secure: the server's certificate is not trusted. "
               "Check your network and the date of this computer.";
    case TransportError::Reason::connectionLost:
    case TransportError::Reason::other:
        break;
    }
    return std::nullopt;
}

} // namespace cirrus
