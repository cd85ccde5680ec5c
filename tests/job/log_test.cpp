#include <gtest/gtest.h>

#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

using MaybeAnswer = std::optional<emulator::Answer>;

/// The whole log of a job of two files, one request of which gets this answer; without an answer
/// the job is cancelled then.
std::string logOf(const std::string& scenario, std::optional<Step> step,
                  const MaybeAnswer& answer) {
    Host host;
    const auto file = host.folder().write("file", "bytes");
    const bool isMissing = scenario == "root folder exists, file missing";
    isMissing ? void(host.drive().addFolder("Root")) : void();
    const auto controller = host.makeController({isMissing ? "missing.txt" : file, file});
    Gate gate;
    host.drive().setHook([&](const emulator::Request& request) -> MaybeAnswer {
        if (stepOf(request) != step) {
            return std::nullopt;
        }
        step.reset();
        answer ? void() : gate.pass();
        return answer;
    });
    if (step && !answer) {
        Host::upload(*controller);
        EXPECT_TRUE(gate.awaitArrival());
        controller->cancel();
        gate.open();
    } else {
        Host::uploadAndWait(*controller);
    }
    Host::settle();
    std::string text = "== " + scenario + "\n";
    for (const auto& line : host.log().lines()) {
        text += line + "\n";
    }
    return text;
}

/// Compares with log_test.txt, which has every line that the library can write. To see what a
/// change of it does, run this test: it prints what it got.
TEST(Log, IsWordForWordWhatTheTranscriptSays) {
    const emulator::Answer unavailable{.status = 503, .body = "Unavailable"};
    const emulator::Answer withoutLink{.body =
                                           R"({"id":"i","kind":"k","name":"n","mimeType":"m"})"};
    const std::vector<std::tuple<std::string, std::optional<Step>, MaybeAnswer>> scenarios{
        {"no root folder yet", {}, {}},
        {"root folder exists, file missing", {}, {}},
        {"search fails", Step::search, unavailable},
        {"root creation fails", Step::createRoot, unavailable},
        {"destination creation fails", Step::createDestination, unavailable},
        {"session fails", Step::session, unavailable},
        {"content fails", Step::content, unavailable},
        {"permission fails", Step::permission, unavailable},
        {"link request fails", Step::link, unavailable},
        {"link is missing", Step::link, withoutLink},
        {"cancelled while a file uploads", Step::content, {}},
        {"cancelled while folders are prepared", Step::search, {}},
    };
    std::string text;
    for (const auto& [scenario, step, answer] : scenarios) {
        text += logOf(scenario, step, answer);
    }
    std::ifstream file(std::filesystem::path(CIRRUS_SOURCE_FOLDER) / "tests/job/log_test.txt");
    EXPECT_EQ(text, std::string(std::istreambuf_iterator(file), {}));
}

} // namespace

} // namespace cirrus::tests
