#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "Cirrus/platform/http/HttpSession.h"
#include "Cirrus/platform/http/TestServer.h"
#include "Cirrus/webservice/GoogleWebservice.h"
#include "tests/support/Host.h"
#include "tests/support/Relay.h"
#include "tests/support/Step.h"

namespace cirrus::tests {
namespace {

using emulator::Answer;
using emulator::Ending;
using std::chrono::milliseconds;

constexpr auto unreadable = "Could not read the response from Google. Please try again.";
constexpr auto broken = "Something went wrong. Please try again.";
constexpr auto late =
    "Google did not answer in time. Check your internet connection and try again.";

std::string record(const std::string& name) {
    return R"({"id":"i","kind":"k","mimeType":"m","name":")" + name + "\"}";
}

constexpr auto anyFile = "Something went wrong, please try again.";
constexpr auto refusal = R"({"error":{"code":403,"message":"No."}})";

/// With the text for the user, when no single file is concerned.
const std::vector<std::pair<Answer, std::string>> faults{
    {emulator::hangUp(Ending::reset), broken},
    {emulator::hangUp(Ending::close), broken},
    {{.delay = emulator::endlessDelay}, late},
    {{.status = 500, .body = "<html>Error</html>"}, unreadable},
    {{.status = 403, .body = refusal}, "No."},
    {{.status = 204}, unreadable},
    {{.body = "{\"id\":\xff"}, unreadable},
    {{.body = std::string(999, ' '), .cutAfter = 300, .ending = Ending::close}, broken},
    {{.status = 307, .headers = {{"Location", "/x"}}, .body = ""}, unreadable},
};

struct Place {
    Step step;
    std::size_t requests; ///< in all, of a job of two files
    std::vector<std::string> files;
    std::size_t permissions;
};

const std::vector<Place> places{
    {Step::search, 1, {}, 0},
    {Step::createRoot, 2, {}, 0},
    {Step::createDestination, 3, {}, 0},
    {Step::session, 6, {"two=second"}, 0},
    {Step::content, 7, {"two=second"}, 0},
    {Step::permission, 8, {"one=first", "two=second"}, 0},
    {Step::link, 9, {"one=first", "two=second"}, 1},
};

void PrintTo(const Place& place, std::ostream* text) {
    *text << place.requests << " requests";
}

class FaultTable : public testing::TestWithParam<Place> {};

TEST_P(FaultTable, EndsTheJobOnceAndLeavesNothingBehind) {
    const auto& [step, requests, files, permissions] = GetParam();
    const bool isOfOneFile = step == Step::session || step == Step::content;
    for (const auto& [answer, text] : faults) {
        SCOPED_TRACE(emulator::wireBytes(answer));
        Host host;
        const auto limit = text == late ? std::optional(milliseconds(300)) : std::nullopt;
        connectToTestServer({{host.drive().port(), host.drive().certificateAuthority(), limit}});
        host.drive().setHook(answeringOnce(step, answer));
        auto controller = host.makeController(
            {host.folder().write("one", "first"), host.folder().write("two", "second")});
        const auto heard = Host::uploadAndWait(*controller);
        Host::settle();

        EXPECT_EQ(heard->failureText(), isOfOneFile ? anyFile : text);
        EXPECT_TRUE(heard->wasOnMainThread);
        EXPECT_EQ(host.requests().size(), requests);
        EXPECT_EQ(host.uploadedFiles(), files);
        std::size_t granted = 0;
        for (const auto& file : host.drive().snapshot().files) {
            granted += file.permissions.size();
        }
        EXPECT_EQ(granted, permissions);
        for (const auto& line : host.log().lines()) {
            EXPECT_FALSE(line.contains(host.drive().accessToken()) || line.contains("upload_id"));
        }
        controller.reset();
        EXPECT_EQ(heard.use_count(), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(At, FaultTable, testing::ValuesIn(places));

const auto file = record("file");
const std::string ok = "HTTP/1.1 200 OK\r\n";
const auto length = "Content-Length: " + std::to_string(file.size()) + "\r\n";
const auto whole = length + "\r\n" + file;
const std::string lost = "underlyingError(transportError(";
const auto evil = ok + length + "\r\n" + record("evil");

Answer raw(std::string bytes, Ending ending = Ending::keepOpen) {
    return {.raw = std::move(bytes), .ending = ending};
}

/// A request with this body, if any; the name of the record that comes back, or what went wrong.
std::string exchange(const std::string& path, std::optional<std::size_t> size) {
    const auto service = std::make_shared<GoogleWebservice>("token");
    std::vector<std::string> outcomes;
    const auto note = [&](const Result<File, WebserviceError>& result) {
        outcomes.push_back(result ? result->name : result.error().diagnosticText());
    };
    const auto url = Url::parse("https://www.googleapis.com/drive/v3/files/" + path).value();
    size
        ? service->upload(std::make_shared<const std::string>(size.value_or(0), 'x'), url, {}, note)
        : service->requestFile(path, note);
    HttpSession::shared().waitUntilIdle();
    EXPECT_EQ(outcomes.size(), 1U);
    return outcomes.at(0);
}

TEST(HostileAnswer, IsClassifiedAndDoesNotReachTheNextRequest) {
    const std::string odd = "invalidResponse";
    const std::vector<std::tuple<std::string, Answer, std::string>> rows{
        {"too long", {.body = std::string((8U << 20U) + 1, ' ')}, lost},
        {"other protocol", raw("SSH-2.0-Server\r\n"), lost},
        {"only a body", raw(file, Ending::close), lost},
        {"nested", {.body = std::string(1'000'000, '[')}, "decodingError(JSON nested too deeply)"},
        {"nested error", {.status = 404, .body = std::string(1'000'000, '[')}, odd},
        {"not UTF-8", {.body = record("\xff")}, "decodingError(not JSON at byte 45)"},
        {"error not UTF-8", {.status = 403, .body = "{\"error\":{\"message\":\"\xff\"}}"}, odd},
        {"too short", raw(ok + length + "\r\n{", Ending::close), lost},
        {"longer", raw(ok + whole + evil), "file"},
        {"two lengths", raw(ok + length + "Content-Length: 1\r\n\r\n" + file), "decodingError("},
        {"bad chunk", raw(ok + "Transfer-Encoding: chunked\r\n\r\nz\r\n" + file), lost},
        {"cut chunk", raw(ok + "Transfer-Encoding: chunked\r\n\r\n5\r\nab", Ending::close), lost},
        {"nothing", {.status = 204}, "missingData"},
        {"nothing and more", raw("HTTP/1.1 204 None\r\n\r\n" + evil), "missingData"},
        {"page", {.status = 502, .body = "<html>Bad gateway</html>"}, odd},
        {"interim", raw("HTTP/1.1 102 P\r\n\r\n" + ok + whole), "file"},
        {"switch", raw("HTTP/1.1 101 S\r\nUpgrade: h2c\r\n\r\nx", Ending::close), odd},
        {"plain", raw("HTTP/1.1 302 F\r\nLocation: http://localhost/next\r\n" + whole), odd},
        {"away", raw("HTTP/1.1 308 P\r\nLocation: https://localhost/next\r\n" + whole), odd},
        {"999", raw("HTTP/1.1 999 x\r\n" + whole), odd},
        {"099", raw("HTTP/1.1 099 x\r\n" + whole), lost},
        {"early", {.status = 403, .body = refusal, .bodyReadFirst = 1}, "serviceError(403: No.)"},
        {"early reset", {.cutAfter = 0, .ending = Ending::reset, .bodyReadFirst = 1}, lost},
    };
    const auto drive = emulator::LocalDrive::start().value();
    for (const auto& [name, answer, expected] : rows) {
        SCOPED_TRACE(name);
        (*drive)->setHeadHook([&](const emulator::Request& request) {
            return request.path.ends_with("next") ? Answer{.body = record("next")} : answer;
        });
        const auto before = (*drive)->snapshot().requests.size();
        const auto outcome = exchange("row", answer.bodyReadFirst * 20'000'000);
        // Newer versions of libcurl refuse the second length themselves.
        const bool isRefused = name == "two lengths" && outcome.starts_with(lost);
        EXPECT_TRUE(isRefused || outcome.starts_with(expected)) << outcome;
        EXPECT_EQ(exchange("next", 0), "next");
        EXPECT_EQ((*drive)->snapshot().requests.size(), before + 2);
    }
}

TEST(BrokenConnection, CarriesNoRequestTwice) {
    const Answer good{.body = file};
    const Answer ended = raw(ok + whole, Ending::close);
    Answer overlong = raw(ok + whole + evil, Ending::close);
    overlong.pauseAfter = {ok.size() + whole.size()};
    // The answer to the first of two requests, and how much of the second passes until which end.
    const std::vector<std::tuple<Answer, std::size_t, Ending>> breaks{
        {good, 0, Ending::reset}, {good, 60, Ending::reset},    {good, 40'000, Ending::reset},
        {good, 0, Ending::close}, {ended, 0, Ending::keepOpen}, {overlong, 0, Ending::keepOpen},
    };
    for (const auto& [first, bytes, ending] : breaks) {
        for (const auto size : {std::optional<std::size_t>(), {0}, {200'000}}) {
            SCOPED_TRACE(testing::Message() << bytes << " of " << size.value_or(1));
            std::atomic<std::size_t> requests = 0;
            const auto drive = emulator::LocalDrive::start().value();
            const auto relay = std::make_unique<Relay>((*drive)->port());
            connectToTestServer({{relay->port(), (*drive)->certificateAuthority(), {}}});
            (*drive)->setHeadHook([&](const auto&) { return ++requests, std::nullopt; });
            (*drive)->setHook([&](const emulator::Request& request) {
                return request.path.ends_with("next") ? Answer{.body = record("next")} : first;
            });
            EXPECT_EQ(exchange("first", size), "file");
            if (ending == Ending::keepOpen) {
                ASSERT_TRUE(relay->waitUntilServerEnds(patience));
                EXPECT_EQ(exchange("next", size), "next");
                EXPECT_EQ(requests, 2U);
            } else if (bytes <= std::max<std::size_t>(size.value_or(0), 60)) {
                relay->breakAfter(bytes, ending);
                EXPECT_TRUE(exchange("next", size).starts_with(lost));
                EXPECT_LE(requests, bytes > 60 ? 2U : 1U);
            }
        }
    }
}

} // namespace
} // namespace cirrus::tests
