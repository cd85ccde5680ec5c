#include "emulator/HttpExchange.h"

#include <algorithm>
#include <limits>
#include <string>

#include "emulator/ContentReader.h"

namespace cirrus::emulator {

namespace {

Answer malformedRequest() {
    Answer answer;
    answer.status = 400;
    answer.body = "";
    answer.ending = Ending::close;
    return answer;
}

/// One request and its answer.
class Exchange {
public:
    Exchange(HttpWire& wire, ServerDelegate& delegate) : wire_(wire), delegate_(delegate) {}

    /// True when the connection can serve another request.
    bool run() {
        auto head = wire_.readHead();
        if (!head) {
            return head.error() == HttpWire::HeadFailure::malformed && send(malformedRequest());
        }
        Request& request = *head;
        const std::optional<Answer> early = delegate_.answerToHead(request);
        const bool intact = readBody(request, early ? early->bodyReadFirst
                                                    : std::numeric_limits<std::uint64_t>::max());
        const std::size_t place = delegate_.requestRead(request);
        if (!intact) {
            return false;
        }
        const Answer answer = early ? *early : delegate_.answer(request);
        if (!wire_.waitOut(answer.delay)) {
            return false;
        }
        if (!answer.raw && answer.cutAfter != 0) {
            delegate_.answering(place, answer.status);
        }
        return send(answer) && wire_.keepsAlive() && skipBody();
    }

private:
    /// Reads this much of the body; false when the connection broke.
    bool readBody(Request& request, std::uint64_t wanted) {
        ContentReader reader(delegate_.bodyPolicy(request));
        const bool intact = inviteBody(request, wanted) && readPieces(reader, wanted);
        request.body = reader.finish();
        request.complete = wire_.bodyComplete();
        return intact;
    }

    bool inviteBody(const Request& request, std::uint64_t wanted) {
        const std::string* expected = request.header("Expect");
        const bool waits = expected != nullptr && equalIgnoringCase(*expected, "100-continue");
        return wanted == 0 || !waits || wire_.write("HTTP/1.1 100 Continue\r\n\r\n");
    }

    bool readPieces(ContentReader& reader, std::uint64_t wanted) {
        while (!wire_.bodyComplete() && wanted > 0) {
            const std::optional<std::string_view> piece = wire_.readBody(wanted);
            if (!piece) {
                return false;
            }
            wanted -= piece->size();
            reader.append(*piece);
            delegate_.bodyBytesRead(piece->size());
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

    /// False when the connection is over.
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

    /// With the pauses of the answer.
    bool write(std::string_view bytes, const Answer& answer) {
        std::size_t sent = 0;
        for (const std::size_t place : answer.pauseAfter) {
            const std::size_t end = std::clamp<std::size_t>(place, sent, bytes.size());
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
    while (Exchange(wire, delegate).run()) {
    }
}

} // namespace cirrus::emulator
