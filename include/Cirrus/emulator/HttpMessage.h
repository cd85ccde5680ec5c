#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Cirrus/emulator/Content.h>

namespace cirrus::emulator {

/// One header field.
struct Header {
    std::string name;  ///< in the letter case it was sent in
    std::string value; ///< without surrounding blanks
};

/// One item of a query.
struct QueryItem {
    std::string name;  ///< percent-decoded
    std::string value; ///< percent-decoded; empty if there is no "="
};

/// One request as it was received. A copy shares the body.
struct Request {
    std::string method = {};           ///< for example POST
    std::string target = {};           ///< path and query as in the request line
    std::string path = {};             ///< percent-decoded
    std::vector<QueryItem> query = {}; ///< in order
    std::vector<Header> headers = {};  ///< in order, but fields of one name follow each other
    Content body = {};                 ///< as far as received

    /// The value of the first header of this name, in any letter case; null if there is none. It
    /// lives as long as the request.
    [[nodiscard]] const std::string* header(std::string_view name) const;

    /// The value of the first query item of this name; null if there is none. It lives as long as
    /// the request.
    [[nodiscard]] const std::string* queryItem(std::string_view name) const;
};

/// What happens to the connection after an answer, or the part of it that is sent.
enum class Ending {
    keepOpen, ///< wait for the next request; a client waits for the rest of a shortened answer
    close,    ///< end TLS and TCP orderly
    reset,    ///< reset the TCP connection
};

/// One answer and how to send it.
struct Answer {
    unsigned status = 200;            ///< HTTP status code
    std::vector<Header> headers = {}; ///< in this order
    /// Sent with `Content-Length`. nullopt sends neither, as for status 204.
    std::optional<std::string> body = std::nullopt;
    /// Sent as it is, instead of everything above.
    std::optional<std::string> raw = std::nullopt;
    /// How long to wait before sending. The wait ends early if the server stops or the client hangs
    /// up; unread parts of the body hide that the client has hung up.
    std::chrono::milliseconds delay{0};
    /// How many bytes of the answer are sent; 0 sends nothing.
    std::optional<std::uint64_t> cutAfter = std::nullopt;
    /// After how many bytes to pause, in rising order. Each pause lasts for `pause` and ends early
    /// like `delay`.
    std::vector<std::uint64_t> pauseAfter = {};
    std::chrono::milliseconds pause{0}; ///< see `pauseAfter`
    Ending ending = Ending::keepOpen;   ///< what follows the answer
    /// For answers of the head hook: how many bytes of the body to read first. The rest is read and
    /// dropped after the answer if the connection stays open.
    std::uint64_t bodyReadFirst = 0;
};

/// A `delay` that lasts until the client hangs up or the server stops.
inline constexpr std::chrono::milliseconds endlessDelay = std::chrono::milliseconds::max();

/// An answer that sends nothing and ends the connection.
[[nodiscard]] Answer hangUp(Ending ending);

/// Splits `Request::target` into `path` and `query` and decodes both. A broken percent escape is
/// kept as it is.
void readTarget(Request& request);

/// The whole answer as bytes on the wire, whatever its `cutAfter`.
[[nodiscard]] std::string wireBytes(const Answer& answer);

} // namespace cirrus::emulator
