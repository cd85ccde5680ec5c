#include "Cirrus/platform/http/HttpSession.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <future>
#include <set>
#include <thread>

#include "Cirrus/platform/http/Sockets.h"
#include "Cirrus/platform/http/TestServer.h"
#include "Cirrus/platform/threads/LibraryThread.h"
#include "tests/support/Waiting.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace cirrus::tests {
namespace {

using emulator::Answer;
using emulator::Ending;
using namespace std::string_literals;

constexpr auto drive = "https://www.googleapis.com/";

HttpRequest request(std::string_view url = drive, HeaderFields headers = {},
                    std::string_view body = {}) {
    return {Url::parse(url).value(), "POST", std::move(headers),
            std::make_shared<const std::string>(body)};
}

void start(HttpRequest request, std::function<void(const HttpOutcome&)> completion,
           std::shared_ptr<Progress> progress = nullptr) {
    HttpSession::shared().start({std::move(request), std::move(progress), std::move(completion)});
}

HttpOutcome perform(HttpRequest request) {
    std::promise<HttpOutcome> outcome;
    start(std::move(request), [&](const HttpOutcome& ended) { outcome.set_value(ended); });
    return outcome.get_future().get();
}

class HttpSessionTest : public testing::Test {
protected:
    void answerWith(const Answer& answer) {
        emulator_.setHook([answer](const auto&) { return answer; });
    }

    /// What one exchange comes to: the status, or the error.
    static std::string attempt(std::string_view url = drive) {
        const auto outcome = perform(request(url));
        return outcome.error ? outcome.error->diagnosticText()
                             : std::to_string(outcome.response.value().statusCode);
    }

    std::unique_ptr<emulator::LocalDrive> drive_ = emulator::LocalDrive::start().value();
    emulator::Emulator& emulator_ = **drive_;
};

TEST_F(HttpSessionTest, RefusesUnsafeRequestsBeforeTheyReachTheNetwork) {
    const auto refusalOf = [](std::string_view url, const HeaderFields& headers) {
        return perform(request(url, headers)).error.value().text;
    };
    for (const auto* url :
         {"http://www.googleapis.com/", "httpss://h", "file:///etc/hosts", "//h/x", "https",
          "/https://h", "https:/x", "https:x", "https://", "https:///x"}) {
        EXPECT_EQ(refusalOf(url, {{"Authorization", "Bearer secret"}}),
                  "The URL is not an absolute HTTPS URL");
    }
    for (const auto& [name, value] : {std::pair("X\n"s, "x"s),
                                      {"X", "x\r\nY: y"},
                                      {"X", "x\n"},
                                      {"X", "x\0"s},
                                      {"X", "x\x7f"}}) {
        EXPECT_EQ(refusalOf(drive, {{name, value}}), "A header field holds a control character");
    }
    EXPECT_EQ(emulator_.snapshot().connectionsAccepted, 0U);
}

TEST_F(HttpSessionTest, GivesEachAnswerAsItCame) {
    const std::vector<std::tuple<std::string, int, std::string, HeaderFields>> rows{
        {"HTTP/1.1 100 Continue\r\nX-A: 1\r\n\r\nHTTP/1.1 103 Early Hints\r\nX-B: 1\r\n\r\n"
         "HTTP/1.1 200 OK\r\nx-b: 2\r\nContent-Length: 1\r\n\r\nx",
         200,
         "x",
         {{"x-b", "2"}, {"Content-Length", "1"}}},
        {"HTTP/1.1 404 No\r\nX-A: 1\r\n\t 2 \r\n \r\nX:\r\n"
         "Transfer-Encoding: chunked\r\n\r\n3\r\nno\0\r\n0\r\nX-B: 3\r\n\r\n"s,
         404,
         "no\0"s,
         {{"X-A", "1 2"}, {"X", ""}, {"Transfer-Encoding", "chunked"}}}};
    for (const auto& [bytes, status, body, headers] : rows) {
        SCOPED_TRACE(status);
        answerWith({.raw = bytes});
        const auto outcome = perform(request());
        EXPECT_EQ(outcome.response.value().statusCode, status);
        EXPECT_EQ(outcome.response->headers, headers);
        EXPECT_EQ(outcome.body, body);
    }
    EXPECT_EQ(headerValue({{"Vary", "a"}, {"X", ""}, {"vary", "b, c"}}, "VARY"), "a, b, c");
    EXPECT_EQ(emulator_.snapshot().requests.size(), rows.size());
}

TEST_F(HttpSessionTest, SendsWhatIsAskedAndNothingMore) {
    answerWith({.headers = {{"Set-Cookie", "a=b; Path=/; Secure"}}, .body = ""});
    const std::string target = "/a/../b/./%2F%c3?x=%27&y=';:@,+$";
    const std::vector<std::string> bodies{"a\0b\r\n"s, std::string(2'000'000, 'x'), ""};
    for (const auto& body : bodies) {
        perform(request("https://www.googleapis.com" + target, {{"content-length", "999"}}, body));
        const auto sent = emulator_.snapshot().requests.back();
        EXPECT_EQ(sent.target, target);
        EXPECT_TRUE(sent.body.bytes() == body);
        EXPECT_EQ(*sent.header("Content-Length"), std::to_string(body.size()));
        // Neither Expect nor Cookie nor Content-Type is beside it.
        EXPECT_TRUE(sent.header("Host") != nullptr && sent.header("Accept") != nullptr);
        EXPECT_EQ(sent.headers.size(), 3U);
    }
    // A head after a body may be longer than what libcurl sends of bodies at once.
    auto longHead = request(drive, {{"Content-Type", "a/b"}, {"X", std::string(40'000, 'x')}});
    longHead.method = "GET";
    EXPECT_TRUE(perform(longHead).response.has_value());
    EXPECT_EQ(*emulator_.snapshot().requests.back().header("Content-Type"), "a/b");
    EXPECT_EQ(emulator_.snapshot().connectionsAccepted, 1U);
    EXPECT_EQ(emulator_.snapshot().protocolsOffered, "\x08http/1.1");
}

TEST_F(HttpSessionTest, ReportsProgressUpToExactlyOneIfItSucceeds) {
    for (const auto& [status, size, expected] :
         {std::tuple(200U, 3'000'001U, 1), {200U, 0U, 1}, {403U, 0U, 0}}) {
        answerWith({.status = status, .body = ""});
        const auto progress = Progress::create(size);
        double last = 0;
        const auto observation = progress->observe([&last](const Progress& changed) {
            const double fraction = changed.fractionCompleted();
            EXPECT_GT(fraction, std::exchange(last, fraction));
        });
        double end = -1;
        start(
            request(drive, {}, std::string(size, 'x')),
            [&](const auto&) { end = progress->fractionCompleted(); }, progress);
        HttpSession::shared().waitUntilIdle();
        EXPECT_EQ(end, expected);
    }
}

TEST_F(HttpSessionTest, NamesTheReasonWhenThereIsNoAnswer) {
    auto other = emulator::Emulator::start().value();
    connectToTestServer(TestServer{emulator_.port(), other->certificateAuthority(), {}});
    EXPECT_TRUE(attempt().starts_with("untrustedCertificate("));
    connectToTestServer(TestServer{other->port(), other->certificateAuthority(), {}});
    EXPECT_EQ(attempt(), "404"); // and keeps a connection, which the end of the server makes stale
    other.reset();
    EXPECT_TRUE(attempt().starts_with("noConnection("));
    EXPECT_TRUE(emulator_.snapshot().requests.empty());
    connectToTestServer(TestServer{emulator_.port(), emulator_.certificateAuthority(),
                                   std::chrono::milliseconds(200)});
    answerWith({.delay = emulator::endlessDelay});
    EXPECT_EQ(attempt(), "timedOut(28: Nothing moved for 200 ms)");
    connectToTestServer({});
    // No name server is asked for a label of this length.
    const std::string host(70, 'h');
    const auto unresolved = attempt("hTtPs://" + host + "/");
    EXPECT_TRUE(unresolved.starts_with("noConnection(6: ") && unresolved.contains(host));
    // A proxy's address may hold a password, so it is not quoted.
    for (const auto& end : {"[bad"s, "ho st:1"s, host}) {
        ::setenv("https_proxy", ("http://user:secret@" + end).c_str(), 1);
        EXPECT_TRUE(attempt().contains(": The proxy's address is of no use)")) << end;
    }
    ::unsetenv("https_proxy");
}

TEST_F(HttpSessionTest, CompletesOnOneThreadOfItsOwnWithAllSignalsBlocked) {
    std::set<std::thread::id> threads;
    for (const auto* url : {drive, "http://refused"}) {
        start(request(url), [&threads](const auto&) {
            EXPECT_TRUE(isLibraryThread());
            threads.insert(std::this_thread::get_id());
            sigset_t blocked;
            ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGCHLD, SIGALRM, SIGUSR1}) {
                EXPECT_EQ(::sigismember(&blocked, signal), 1) << signal;
            }
        });
    }
    HttpSession::shared().waitUntilIdle();
    EXPECT_TRUE(threads.size() == 1 && !threads.contains(std::this_thread::get_id()));
    sigset_t ours;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &ours);
    EXPECT_EQ(::sigismember(&ours, SIGTERM), 0);
}

TEST_F(HttpSessionTest, TakesNoTimeOfTheProcessorWhileItWaits) {
    answerWith({.body = "", .delay = std::chrono::milliseconds(500)});
    perform(request()); // and connects
    const std::clock_t before = std::clock();
    perform(request());
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 4);
}

TEST(Sockets, AreNotInheritedAndKeepLittleUnsentData) {
    const int socket = sockets::open(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(::fcntl(socket, F_GETFD), FD_CLOEXEC);
    int limit = 0;
    socklen_t length = sizeof(limit);
    isPlainPosix ? ::getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &limit, &length)
                 : ::getsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &limit, &length);
    EXPECT_TRUE(limit > 0 && limit <= 256 * 1024) << limit;
    sockets::close(socket);
}

TEST_F(HttpSessionTest, SendsOnWhileACompletionRuns) {
    std::promise<void> arrival;
    emulator_.setHook([&arrival](const auto&) {
        arrival.set_value();
        return Answer{.body = ""};
    });
    start(request("http://refused"), [&](const auto&) {
        start(request(drive, {}, std::string(20'000'000, 'x')), [](const auto&) {});
        EXPECT_EQ(arrival.get_future().wait_for(patience), std::future_status::ready);
    });
    HttpSession::shared().waitUntilIdle();
}

} // namespace
} // namespace cirrus::tests
