#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "emulator/Content.h"

namespace cirrus::emulator {

/// One header field.
struct Header {
    std::string name;  ///< as it is written
    std::string value; ///< without blanks around it
};

/// One item of a query.
struct QueryItem {
    std::string name;  ///< percent-decoded
    std::string value; ///< percent-decoded; empty without "="
};

/// One request as it was received.
struct Request {
    std::string method = {};           ///< for example POST
    std::string target = {};           ///< as in the request line
    std::string path = {};             ///< of the target, percent-decoded
    std::vector<QueryItem> query = {}; ///< of the target, decoded, in order
    std::vector<Header> headers = {};  ///< in order; those of an equal name stand together
    Content body = {};                 ///< as far as it was received
    bool complete = false;             ///< whether all of the body was received
    std::uint64_t connection = 0;      ///< number of the connection, counted from 1

    /// The first header of this name, whatever its letter case; null without one.
    [[nodiscard]] const std::string* header(std::string_view name) const;

    /// The first query item of this name; null without one.
    [[nodiscard]] const std::string* queryItem(std::string_view name) const;
};

/// What happens to the connection once an answer, or the part to be sent of it, is on its way.
enum class Ending {
    keepOpen, ///< waits for the next request: a shortened answer leaves the client waiting
    close,    ///< orderly end of TLS and TCP
    reset,    ///< TCP reset
};

/// One answer and how to send it.
struct Answer {
    unsigned status = 200;            ///< of HTTP
    std::string reason = {};          ///< the usual phrase when empty
    std::vector<Header> headers = {}; ///< in this order
    /// `Content-Length` goes with it. Nothing: neither body nor `Content-Length`, as with 204.
    std::optional<std::string> body = std::nullopt;
    /// Bytes to send as they are instead of everything above.
    std::optional<std::string> raw = std::nullopt;
    /// Time to let pass first. Ends early when the server stops or the client hangs up, which shows
    /// only once all that the client sent before was read.
    std::chrono::milliseconds delay{0};
    /// The size of the part that is sent; 0 sends nothing.
    std::optional<std::uint64_t> cutAfter = std::nullopt;
    /// Where to stop on the way, as counts of bytes sent, rising; `pause` passes at each. Ends
    /// early like `delay`.
    std::vector<std::uint64_t> pauseAfter = {};
    std::chrono::milliseconds pause{0}; ///< see `pauseAfter`
    Ending ending = Ending::keepOpen;   ///< what follows
    /// In an answer to the head: how much of the body to read first. The rest is read and thrown
    /// away after the answer, if the connection stays open.
    std::uint64_t bodyReadFirst = 0;
};

/// A `delay` that the client or the end of the server has to end.
inline constexpr std::chrono::milliseconds endlessDelay = std::chrono::milliseconds::max();

/// Breaks the connection off without an answer.
[[nodiscard]] Answer hangUp(Ending ending);

/// Splits a request target into path and query items, decoding both. A broken percent escape
/// stands for itself.
void readTarget(Request& request);

/// The bytes that an answer consists of on the wire, not shortened.
[[nodiscard]] std::string wireBytes(const Answer& answer);

/// Whether two ASCII texts are equal but for letter case.
[[nodiscard]] bool equalIgnoringCase(std::string_view left, std::string_view right);

} // namespace cirrus::emulator
