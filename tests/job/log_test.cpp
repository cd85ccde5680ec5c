#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/Host.h"
#include "tests/support/Step.h"

namespace cirrus::tests {

namespace {

const emulator::Answer unavailable{.status = 503, .body = "Unavailable"};
const emulator::Answer withoutLink{.body = R"({"id":"i","kind":"k","name":"n","mimeType":"m"})"};

struct Scenario {
    std::string name;
    std::optional<Step> step = std::nullopt; ///< answered with `answer`
    emulator::Answer answer = unavailable;
    bool isFileMissing = false;
    bool isCancelled = false; ///< while `step` is in flight
};

/// The whole log of a job of two files, the first of which may be missing.
std::string logOf(const Scenario& scenario) {
    Host host;
    if (scenario.name.starts_with("root folder")) {
        host.drive().addFolder("Root");
    }
    const auto file = host.folder().write("file", "bytes");
    const auto controller = host.makeController(
        {scenario.isFileMissing ? host.folder().path() / "missing.txt" : file, file});
    Gate gate;
    if (scenario.isCancelled) {
        host.drive().setHook([&](const emulator::Request& request) {
            stepOf(request) == scenario.step ? gate.pass() : void();
            return std::optional<emulator::Answer>();
        });
        Host::upload(*controller);
        EXPECT_TRUE(gate.awaitArrival());
        controller->cancel();
        gate.open();
        Host::settle();
    } else {
        scenario.step ? host.drive().setHook(answeringOnce(*scenario.step, scenario.answer))
                      : void();
        Host::uploadAndWait(*controller);
    }
    std::string text = "== " + scenario.name + "\n";
    for (const auto& line : host.log().lines()) {
        text += line + "\n";
    }
    return text;
}

/// Compares with log_test.txt, which has every line that the library can write. To see what a
/// change of it does, run this test: it prints what it got.
TEST(Log, IsWordForWordWhatTheTranscriptSays) {
    const std::vector<Scenario> scenarios{
        {"no root folder yet"},
        {"root folder exists, file missing", std::nullopt, unavailable, true},
        {"search fails", Step::search},
        {"root creation fails", Step::createRoot},
        {"destination creation fails", Step::createDestination},
        {"session fails", Step::session},
        {"content fails", Step::content},
        {"permission fails", Step::permission},
        {"link request fails", Step::link},
        {"link is missing", Step::link, withoutLink},
        {"cancelled while a file uploads", Step::content, unavailable, false, true},
        {"cancelled while folders are prepared", Step::search, unavailable, false, true},
    };
    std::string text;
    for (const auto& scenario : scenarios) {
        text += logOf(scenario);
    }
    std::ifstream file(std::filesystem::path(CIRRUS_SOURCE_FOLDER) / "tests/job/log_test.txt");
    EXPECT_EQ(text, std::string(std::istreambuf_iterator(file), {}));
}

} // namespace

} // namespace cirrus::tests
