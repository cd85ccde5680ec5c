#include <gtest/gtest.h>

#include <utility>

#include "Cirrus/FileUploader.h"
#include "Cirrus/platform/errors/ErrorKind.h"
#include "tests/support/Host.h"
#include "tests/support/Step.h"

namespace cirrus::tests {
namespace {

using emulator::Answer;
using emulator::Request;
using enum FailureReason;

Answer refusal(unsigned code) {
    const auto number = std::to_string(code);
    return {.status = code, .body = R"({"error":{"message":"No.","code":)" + number + "}}"};
}

TEST(FailureReason, FollowsFromWhatTheServiceSaid) {
    const std::vector<std::tuple<Step, Answer, FailureReason, std::optional<std::int64_t>>> rows{
        {Step::search, refusal(401), signedOut, 401},
        {Step::createRoot, refusal(400), refused, 400},
        {Step::permission, refusal(403), refused, 403},
        {Step::createDestination, refusal(404), notFound, 404},
        {Step::link, refusal(429), tooManyRequests, 429},
        {Step::search, refusal(503), serviceTrouble, 503},
        {Step::search, {.status = 500, .body = "<html>"}, answerNotUnderstood, std::nullopt},
        {Step::search, {.body = "{}"}, answerNotUnderstood, std::nullopt},
        {Step::search, emulator::hangUp(emulator::Ending::close), connectionLost, std::nullopt},
        {Step::link,
         {.body = R"({"id":"i","kind":"k","name":"n","mimeType":"m"})"},
         noLink,
         std::nullopt},
    };
    for (const auto& [step, answer, reason, code] : rows) {
        SCOPED_TRACE(emulator::wireBytes(answer));
        Host host;
        host.drive().setHook(answeringOnce(step, answer));
        const auto controller = host.makeController({});
        const auto error = Host::uploadAndWait(*controller)->results.at(0).error();
        EXPECT_EQ(error.reason(), reason);
        EXPECT_EQ(error.serviceCode(), code);
        EXPECT_TRUE(controller->failedFiles().empty());
    }
}

TEST(FailedFiles, SayWhichAndWhyInOrder) {
    Host host;
    host.drive().setHook(answeringOnce(Step::content, refusal(401)));
    const auto first = host.folder().write("first", "1");
    const auto controller =
        host.makeController({first, host.folder().write("second", "2"), "/missing/third"});
    const auto heard = Host::uploadAndWait(*controller);
    EXPECT_EQ(heard->results.at(0).error().reason(), filesFailed);
    std::vector<std::string> texts;
    for (const auto& file : controller->failedFiles()) {
        const auto isUnreadable = file.reason == unreadableFile ? "unreadable" : "";
        texts.push_back(file.path.string() + " " + std::to_string(file.serviceCode.value_or(0)) +
                        " " + (file.reason == signedOut ? "signed out" : isUnreadable) + " " +
                        file.diagnosticText);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{
                         first.string() + " 401 signed out underlying(serviceError(401: No.))",
                         "/missing/third 0 unreadable missingFile(No such file or directory)"}));
    EXPECT_EQ(host.uploadedFiles(), std::vector<std::string>{"second=2"});
}

TEST(ScopedShareController, EndsItsJobWithoutAnotherCallback) {
    for (const bool isAssigned : {true, false}) {
        Host host;
        Gate gate;
        host.drive().setHeadHook([&gate](const Request&) -> std::optional<Answer> {
            gate.pass();
            return std::nullopt;
        });
        auto job = std::make_optional<ScopedShareController>(
            std::move(*host.makeController({host.folder().write("file", "1")})));
        const auto heard = Host::upload(*job->operator->());
        ASSERT_TRUE(gate.awaitArrival());
        if (isAssigned) {
            *job = ScopedShareController();
            EXPECT_FALSE(*job);
        } else {
            job.reset();
        }
        EXPECT_EQ(heard.use_count(), 1);
        gate.open();
        Host::settle();
        EXPECT_TRUE(heard->results.empty() && heard->fractions.empty());
        EXPECT_EQ(host.requests().size(), 1U);
    }
}

template <class Controller>
concept CanUpload =
    requires(Controller&& controller) { std::forward<Controller>(controller).upload({}, {}); };
static_assert(CanUpload<ShareController&> && !CanUpload<ShareController>);

} // namespace
} // namespace cirrus::tests
