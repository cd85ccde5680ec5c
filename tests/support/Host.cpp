#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <future>

#include "Cirrus/platform/http/HttpSession.h"

namespace cirrus::tests {

std::shared_ptr<LogSink> RecordingLog::sinkFor(const std::shared_ptr<RecordingLog>& log) {
    return makeLogSink([log](LogLevel level, const LogPlace& place, const std::string& text) {
        constexpr std::array names{" detail ", " notice ", " failure "};
        const std::filesystem::path unit(place.file);
        const std::scoped_lock lock(log->mutex_);
        log->lines_.push_back(unit.stem().string() + names.at(static_cast<std::size_t>(level)) +
                              std::string(place.function) + ": " + text);
        log->changed_.notify_all();
    });
}

bool RecordingLog::await(std::string_view line) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return std::ranges::count(lines_, line) > 0; });
}

std::vector<std::string> RecordingLog::lines() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
}

std::string Heard::failureText() const {
    if (results.size() != 1 || results.front()) {
        return "(no failure)";
    }
    return results.front().error().errorDescription().value_or("(absent)");
}

Host::Host(std::optional<std::chrono::milliseconds> idleLimit)
    : drive_(emulator::LocalDrive::start({.idleLimit = idleLimit}).value()),
      log_(std::make_shared<RecordingLog>()) {
    Configuration::setLog(RecordingLog::sinkFor(log_));
}

std::unique_ptr<ShareController>
Host::makeController(std::vector<std::filesystem::path> files, std::optional<std::string> email,
                     std::optional<std::string> message,
                     std::optional<std::chrono::system_clock::time_point> expiration) {
    return std::make_unique<ShareController>(
        ShareController::Context(std::move(files), "Root", "Destination", std::move(email),
                                 std::move(message), expiration),
        drive().accessToken());
}

std::shared_ptr<Heard> Host::upload(ShareController& controller) {
    auto heard = std::make_shared<Heard>();
    const auto thread = std::this_thread::get_id();
    controller.upload(
        [heard, thread](const std::shared_ptr<const Progress>& progress) {
            heard->wasOnMainThread &= std::this_thread::get_id() == thread;
            heard->fractions.push_back(progress->fractionCompleted());
            heard->objects.push_back(progress);
        },
        [heard, thread](Result<Url, ShareController::Error> result) {
            heard->wasOnMainThread &= std::this_thread::get_id() == thread;
            heard->results.push_back(std::move(result));
        });
    return heard;
}

std::shared_ptr<Heard> Host::uploadAndWait(ShareController& controller) {
    auto heard = upload(controller);
    EXPECT_TRUE(pumpUntil([&] { return !heard->results.empty(); }));
    return heard;
}

std::vector<Step> Host::requests() {
    std::vector<Step> steps;
    std::ranges::transform(drive().snapshot().requests, std::back_inserter(steps), stepOf);
    return steps;
}

std::vector<std::string> Host::uploadedFiles() {
    const auto snapshot = drive().snapshot();
    std::vector<std::string> texts;
    for (const auto& file : snapshot.files) {
        if (!file.isFolder()) {
            EXPECT_EQ(snapshot.pathOf(file), "Root/Destination/" + file.name);
            texts.push_back(file.name + "=" + file.content.bytes());
        }
    }
    return texts;
}

void Host::passCallbackThread() {
    // What is refused needs no network, and completions run one after another.
    std::promise<void> completed;
    HttpSession::shared().start({.request = {Url::parse("relative").value(), "GET"},
                                 .completion = [&](const auto&) { completed.set_value(); }});
    completed.get_future().wait();
}

void Host::settle() {
    HttpSession::shared().waitUntilIdle();
    MainQueue::drain();
}

} // namespace cirrus::tests
