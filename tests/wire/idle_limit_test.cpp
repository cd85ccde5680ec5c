#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>

#include "Cirrus/platform/http/HttpSession.h"
#include "Cirrus/platform/http/TestServer.h"
#include <Cirrus/emulator/LocalDrive.h>

#include "tests/support/Relay.h"
#include "tests/support/Waiting.h"

namespace cirrus::tests {
namespace {

using emulator::Answer;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

const std::string answerBytes = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabcdefghi";

class IdleLimit : public testing::Test {
protected:
    /// Starts an exchange; peers may differ from one to the next. Its end comes into `ends`.
    void start(const std::string& name, std::uint16_t port, std::optional<milliseconds> limit,
               std::size_t size) {
        connectToTestServer(TestServer{port, emulator_.certificateAuthority(), limit});
        const auto url = Url::parse("https://www.googleapis.com/" + name).value();
        const auto completion = [this, name, began = Clock::now()](const HttpOutcome& outcome) {
            const auto text = outcome.error ? outcome.error->diagnosticText() : *outcome.body;
            ends_[name] = {text.substr(0, text.find('(')), Clock::now() - began};
        };
        HttpSession::shared().start(
            {{url, "POST", {}, std::make_shared<const std::string>(size, 'x')},
             {},
             completion,
             {}});
    }

    std::unique_ptr<Relay> relayUpTo(std::uint64_t bytes) {
        auto relay = std::make_unique<Relay>(emulator_.port());
        relay->breakAfter(bytes, emulator::Ending::keepOpen);
        return relay;
    }

    void expectEveryPhaseToEndAfter(milliseconds limit, std::optional<milliseconds> given,
                                    milliseconds slack) {
        // Answers no attempt to connect: its queue holds one connection, and is full.
        const int deaf = ::socket(AF_INET, SOCK_STREAM, 0);
        const int filler = ::socket(AF_INET, SOCK_STREAM, 0);
        ASSERT_TRUE(deaf >= 0 && filler >= 0);
        sockaddr_in address{};
        socklen_t length = sizeof(address);
        ::listen(deaf, 0);
        ::getsockname(deaf, reinterpret_cast<sockaddr*>(&address), &length);
        ASSERT_EQ(::connect(filler, reinterpret_cast<sockaddr*>(&address), length), 0);
        const auto silent = relayUpTo(0);
        const auto falteringBody = relayUpTo(5'000);
        // A number is that of the bytes that are answered; the last column tells when, after the
        // start, something moved last.
        const std::vector<std::tuple<std::string, std::uint16_t, std::size_t, milliseconds>> rows{
            {"connecting", ntohs(address.sin_port), 0, {}},
            {"handshake", silent->port(), 0, {}},
            {"sending", falteringBody->port(), 9'000'000, {}},
            {"0", emulator_.port(), 0, {}},
            {"5", emulator_.port(), 0, limit / 8},
            {"30", emulator_.port(), 0, limit / 8},
            {"45", emulator_.port(), 0, limit / 8},
        };
        emulator_.setHook([&](const emulator::Request& request) {
            const auto size = std::strtoul(request.path.substr(1).c_str(), nullptr, 10);
            return Answer{
                .raw = answerBytes, .cutAfter = size, .pauseAfter = {size - 1}, .pause = limit / 8};
        });
        for (const auto& [phase, port, size, lastMoved] : rows) {
            start(phase, port, given, size);
        }
        HttpSession::shared().waitUntilIdle();
        for (const auto& [phase, port, size, lastMoved] : rows) {
            EXPECT_EQ(ends_[phase].first, "timedOut") << phase;
            // libcurl alone does not tell of every byte, and of some only once the system, which
            // asks the peer now and then, has room for more.
            const auto earliest = limit + (isPlainPosix ? milliseconds(0) : lastMoved);
            const auto latest = limit + lastMoved + slack * (isPlainPosix ? 3 : 1);
            EXPECT_GE(ends_[phase].second, earliest) << phase;
            EXPECT_LT(ends_[phase].second, latest) << phase;
        }
        ::close(deaf);
        ::close(filler);
    }

    std::unique_ptr<emulator::LocalDrive> drive_ = emulator::LocalDrive::start().value();
    emulator::Emulator& emulator_ = **drive_;
    std::map<std::string, std::pair<std::string, Clock::duration>> ends_;
};

TEST_F(IdleLimit, EndsASilentTransferInEveryPhase) {
    expectEveryPhaseToEndAfter(milliseconds(800), milliseconds(800), milliseconds(700));
}

TEST_F(IdleLimit, OfTenSecondsHoldsInEveryPhase) {
    expectEveryPhaseToEndAfter(std::chrono::seconds(10), std::nullopt, milliseconds(500));
}

TEST_F(IdleLimit, LetsATransferCrawlOnThatMovesAtAll) {
    constexpr milliseconds limit(600);
    emulator_.setHook([&](const emulator::Request& request) {
        return Answer{.raw = answerBytes,
                      .pauseAfter = {8, 23, 38, 39, 40, 41, 42, 43, 44, 45},
                      .pause = request.path == "/answer" ? limit * 9 / 10 : milliseconds(0)};
    });
    // Much of the body is in the hands of the system long before it arrives.
    const auto slow = std::make_unique<Relay>(emulator_.port());
    slow->limitRate(100'000);
    if (!isPlainPosix) { // else only what the system has not taken yet counts, and whole lines
        start("answer", emulator_.port(), limit, 0);
        start("request", slow->port(), limit, 500'000);
    } else {
        start("request", slow->port(), limit * 6, 500'000);
    }
    HttpSession::shared().waitUntilIdle();
    for (const auto& [name, end] : ends_) {
        EXPECT_EQ(end.first, "abcdefghi") << name;
        EXPECT_GT(end.second, 5 * limit) << name;
    }
    EXPECT_FALSE(ends_.empty());
}

} // namespace
} // namespace cirrus::tests
