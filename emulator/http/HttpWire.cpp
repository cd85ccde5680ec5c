#include "emulator/http/HttpWire.h"

#include <algorithm>
#include <limits>
#include <string>

#include <boost/beast/core/string.hpp>

#include "emulator/http/ContentReader.h"

namespace cirrus::emulator {

namespace {

Answer malformedRequest() {
    return {.status = 400, .body = "", .ending = Ending::close};
}

/// Reads one request and sends its answer.
class ServedRequest {
public:
    ServedRequest(HttpWire& wire, ServerDelegate& delegate) : wire_(wire), delegate_(delegate) {}

    /// True if the connection can serve another request.
    bool run() {
        auto head = wire_.readHead();
        if (!head) {
            return head.error() == HttpWire::HeadFailure::malformed && send(malformedRequest());
        }
        Request& request = *head;
        const std::optional<Answer> early = delegate_.answerToHead(request);
        const bool intact = readBody(request, early ? early->bodyReadFirst
                                                    : std::numeric_limits<std::uint64_t>::max());
        const std::size_t index = delegate_.requestRead(request);
        if (!intact) {
            return false;
        }
        const Answer answer = early ? *early : delegate_.answer(request);
        if (!wire_.waitOut(answer.delay)) {
            return false;
        }
        if (!answer.raw && answer.cutAfter != 0) {
            delegate_.answering(index, answer.status);
        }
        return send(answer) && wire_.keepsAlive() && skipBody();
    }

private:
    /// Reads up to `wanted` bytes of the body; false if the connection broke.
    bool readBody(Request& request, std::uint64_t wanted) {
        ContentReader reader(delegate_.bodyPolicy(request));
        const bool intact = allowBody(request, wanted) && readChunks(reader, wanted);
        request.body = reader.finish();
        request.complete = wire_.bodyComplete();
        return intact;
    }

    /// Some clients send a body only after the server has asked for it.
    bool allowBody(const Request& request, std::uint64_t wanted) {
        const std::string* expected = request.header("Expect");
        const bool waits = expected != nullptr && boost::beast::iequals(*expected, "100-continue");
        return wanted == 0 || !waits || wire_.write("HTTP/1.1 100 Continue\r\n\r\n");
    }

    bool readChunks(ContentReader& reader, std::uint64_t wanted) {
        while (!wire_.bodyComplete() && wanted > 0) {
            const std::optional<std::string_view> chunk = wire_.readBody(wanted);
            if (!chunk) {
                return false;
            }
            wanted -= chunk->size();
            reader.append(*chunk);
            if (!wire_.waitOut(delegate_.bodyBytesRead(chunk->size()))) {
                return false;
            }
        }
        return true;
    }

    bool skipBody() {
        while (!wire_.bodyComplete()) {
            if (!wire_.readBody(std::numeric_limits<std::uint64_t>::max())) {
                return false;
            }
        }
        return true;
    }

    /// False if that ended the connection.
    bool send(const Answer& answer) {
        const std::string bytes = wireBytes(answer);
        const std::size_t size =
            std::min<std::uint64_t>(answer.cutAfter.value_or(bytes.size()), bytes.size());
        if (!write(std::string_view(bytes).substr(0, size), answer)) {
            return false;
        }
        if (answer.ending == Ending::close) {
            wire_.close();
        } else if (answer.ending == Ending::reset) {
            wire_.reset();
        }
        return answer.ending == Ending::keepOpen;
    }

    /// Pauses where the answer says so; false if the connection broke.
    bool write(std::string_view bytes, const Answer& answer) {
        std::size_t sent = 0;
        for (const std::size_t pausePoint : answer.pauseAfter) {
            const std::size_t end = std::clamp<std::size_t>(pausePoint, sent, bytes.size());
            if ((end > sent && !wire_.write(bytes.substr(sent, end - sent))) ||
                !wire_.waitOut(answer.pause)) {
                return false;
            }
            sent = end;
        }
        return sent == bytes.size() || wire_.write(bytes.substr(sent));
    }

    HttpWire& wire_;
    ServerDelegate& delegate_;
};

} // namespace

void serveRequests(HttpWire& wire, ServerDelegate& delegate) {
    while (ServedRequest(wire, delegate).run()) {
    }
}

} // namespace cirrus::emulator
