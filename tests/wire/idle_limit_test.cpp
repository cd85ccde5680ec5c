#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>

#include "Cirrus/platform/http/HttpSession.h"
#include "Cirrus/platform/http/TestServer.h"
#include <Cirrus/emulator/LocalDrive.h>

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
        connectToTestServer(TestServer{port, (*drive_)->certificateAuthority(), limit});
        const auto url = Url::parse("https://www.googleapis.com/" + name).value();
        const auto completion = [this, name, began = Clock::now()](const HttpOutcome& outcome) {
            const auto text = outcome.error ? outcome.error->diagnosticText() : *outcome.body;
            ends_[name] = {text.substr(0, text.find('(')), Clock::now() - began};
        };
        const auto body = std::make_shared<const std::string>(size, 'x');
        HttpSession::shared().start({{url, "POST", {}, body}, {}, completion});
    }

    /// Slow: much of a body is in the hands of the system long before it arrives.
    std::unique_ptr<emulator::LocalDrive> drive_ =
        emulator::LocalDrive::start({.emulator = {.rate = 100'000}}).value();
    std::map<std::string, std::pair<std::string, Clock::duration>> ends_;
};

TEST_F(IdleLimit, OfTenSecondsHoldsInEveryPhase) {
    constexpr milliseconds limit(10'000);
    constexpr milliseconds moves(1'000);
    // Its queue has room for one connection, which it never answers, and for no other.
    const int deaf = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    ASSERT_EQ(::listen(deaf, 0), 0);
    ::getsockname(deaf, reinterpret_cast<sockaddr*>(&address), &length);
    // A number is that of the bytes that are answered; the last column tells when, after the
    // start, something moved last.
    const auto port = (*drive_)->port();
    const std::vector<std::tuple<std::string, std::uint16_t, std::size_t, milliseconds>> rows{
        {"handshake", ntohs(address.sin_port), 0, {}},
        {"connecting", ntohs(address.sin_port), 0, {}},
        {"sending", port, 9'000'000, {}},
        {"0", port, 0, {}},
        {"5", port, 0, moves},
        {"30", port, 0, moves},
        {"45", port, 0, moves},
    };
    (*drive_)->setHeadHook([&](const emulator::Request& request) {
        const auto size = std::strtoul(request.path.substr(1).c_str(), nullptr, 10);
        return request.path == "/sending"
                   ? Answer{.delay = emulator::endlessDelay, .bodyReadFirst = 5'000}
                   : Answer{.raw = answerBytes,
                            .cutAfter = size,
                            .pauseAfter = {size - 1},
                            .pause = moves};
    });
    for (const auto& [phase, to, size, lastMoved] : rows) {
        start(phase, to, std::nullopt, size);
    }
    HttpSession::shared().waitUntilIdle();
    for (const auto& [phase, to, size, lastMoved] : rows) {
        EXPECT_EQ(ends_[phase].first, "timedOut") << phase;
        // libcurl alone does not tell of every byte, and of some only once the system, which
        // asks the peer now and then, has room for more.
        EXPECT_GE(ends_[phase].second, limit + (isPlainPosix ? milliseconds(0) : lastMoved))
            << phase;
        EXPECT_LT(ends_[phase].second, limit + lastMoved + milliseconds(isPlainPosix ? 1'500 : 500))
            << phase;
    }
    ::close(deaf);
}

TEST_F(IdleLimit, LetsATransferCrawlOnThatMovesAtAll) {
    constexpr milliseconds limit(600);
    (*drive_)->setHook([&](const emulator::Request& request) {
        return Answer{.raw = answerBytes,
                      .pauseAfter = {8, 23, 38, 39, 40, 41, 42, 43, 44, 45},
                      .pause = request.path == "/answer" ? limit * 9 / 10 : milliseconds(0)};
    });
    // Without the system's counts, only what it has not taken yet counts, and whole lines.
    if (!isPlainPosix) {
        start("answer", (*drive_)->port(), limit, 0);
    }
    // The system acknowledges in steps of up to 64 KiB, which take 0.7 s.
    start("request", (*drive_)->port(), limit * (isPlainPosix ? 6 : 3), 500'000);
    HttpSession::shared().waitUntilIdle();
    for (const auto& [name, end] : ends_) {
        EXPECT_EQ(end.first, "abcdefghi") << name;
        EXPECT_GT(end.second, 5 * limit) << name;
    }
    EXPECT_FALSE(ends_.empty());
}

} // namespace
} // namespace cirrus::tests
