#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <deque>

#include "Cirrus/ShareJob.h"
#include "Cirrus/platform/MainQueue.h"
#include "Cirrus/platform/SerialQueue.h"
#include "tests/support/ScriptedWebservice.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace cirrus::tests {

namespace {

/// Requests, as the numbers of their steps, and calls: [p]rogress, [s]uccess, [f]ailure.
using Course = std::string;

/// A job of two files.
struct Script {
    Course course;
    std::optional<Step> failing = std::nullopt;
    bool isFirstFileMissing = false;
};

/// Where the host acts: between two events or inside a callback.
enum class Place { boundary, progress, completion };

/// What it does there, in this order.
enum Action : unsigned { cancels = 1, destroys = 2, uploads = 4, afterLastAction = 6 };

struct Plan {
    const Script& script;
    Place place;
    unsigned action;
    int number; ///< of the place, from 0
};

Course silent(Course course) {
    std::erase_if(course, [](char event) { return std::isalpha(event) != 0; });
    return course;
}

/// What has to follow once the host has acted, when queued tasks run first and the newest request
/// is answered first.
Course expectedAfter(const Course& past, bool hasCallQueued, bool hasStepQueued, const Plan& plan) {
    const auto& whole = plan.script.course;
    const auto rest = whole.substr(past.size());
    const bool isCancelled = (plan.action & cancels) != 0;
    const auto queued = hasCallQueued && !isCancelled ? rest.substr(0, 1) : Course();
    const bool isUploading = past.contains('3') && !past.contains('5');
    const auto inSilence = isUploading ? Course() : silent(rest);
    if (plan.action < uploads) {
        return plan.action == cancels ? inSilence : queued;
    }
    const auto second = whole.substr(1);
    if (hasStepQueued && !isCancelled) {
        return "0" + rest + silent(second);
    }
    const bool isReported =
        !isCancelled && plan.place != Place::completion && (queued.empty() || queued == "p");
    return "0" + queued + (isReported ? second : silent(second)) + inSilence;
}

/// One run of a job into which the host steps once.
class Trial {
public:
    explicit Trial(const Plan& plan) : plan_(plan) {
        MainQueue::setDispatcher([this](auto task) { tasks_.push_back(std::move(task)); });
        auto service = std::make_shared<ScriptedWebservice>([this](auto request) {
            course_ += std::to_string(static_cast<int>(request.step));
            requests_.push_back(std::move(request));
        });
        static const TemporaryFolder folder;
        static const auto file = folder.write("file", "12");
        const auto first = plan.script.isFirstFileMissing ? folder.path() / "none" : file;
        job_ = std::make_shared<ShareJob>(ShareJob::Context({first, file}, "Root", "Job"), service);
        service_ = service;
    }

    ~Trial() { MainQueue::setDispatcher({}); }

    /// Whether the place was reached.
    bool play() {
        upload();
        for (reach(Place::boundary); !tasks_.empty() || !requests_.empty();
             reach(Place::boundary)) {
            tasks_.empty() ? answer() : runTask();
            EXPECT_TRUE(held_.size() == 1 || held_.front().expired()) << "replaced";
        }
        EXPECT_EQ(course_, expected_.value_or(plan_.script.course));
        job_.reset();
        EXPECT_TRUE(service_.expired());
        EXPECT_TRUE(std::ranges::all_of(held_, &std::weak_ptr<void>::expired));
        return expected_.has_value();
    }

private:
    void reach(Place place) {
        if (place != plan_.place || placesPassed_++ != plan_.number) {
            return;
        }
        const auto rest = plan_.script.course.substr(course_.size());
        const bool hasCallQueued = !tasks_.empty() && std::isalpha(rest.front()) != 0;
        expected_ = course_ +
                    expectedAfter(course_, hasCallQueued, !tasks_.empty() && !hasCallQueued, plan_);
        (plan_.action & cancels) != 0 ? job_->cancel() : void();
        (plan_.action & destroys) != 0 ? job_.reset() : void();
        (plan_.action & uploads) != 0 ? upload() : void();
        const bool isKept = place != Place::boundary || (hasCallQueued && plan_.action == destroys);
        EXPECT_TRUE(isKept || held_.front().expired()) << "what callbacks hold is let go at once";
    }

    void upload() {
        const std::shared_ptr<void> held(nullptr, [thread = std::this_thread::get_id()](void*) {
            EXPECT_TRUE(std::this_thread::get_id() == thread);
        });
        const auto call = [this, held](char event, Place place) {
            course_ += event;
            reach(place);
        };
        held_.emplace_back(held);
        job_->upload([call](const auto&) { call('p', Place::progress); },
                     [call](const auto& result) { call(result ? 's' : 'f', Place::completion); });
    }

    void runTask() {
        auto task = std::move(tasks_.front());
        tasks_.pop_front();
        task();
    }

    /// Moves the newest transfer on by half, or answers the newest request.
    void answer() {
        static SerialQueue callbackThread;
        Awaited<bool> isDone;
        callbackThread.post([&] {
            const auto progress = requests_.back().progress;
            if (progress && progress->fractionCompleted() < 1) {
                progress->setCompletedUnitCount(progress->fractionCompleted() > 0 ? 2 : 1);
            } else {
                auto request = std::move(requests_.back());
                requests_.pop_back();
                request.answer(request.step != plan_.script.failing);
            }
            isDone.give(true);
        });
        ASSERT_TRUE(isDone.take());
    }

    const Plan plan_;
    int placesPassed_ = 0;
    Course course_;
    std::optional<Course> expected_;
    std::shared_ptr<ShareJob> job_;
    std::weak_ptr<Webservice> service_;
    std::vector<std::weak_ptr<void>> held_;
    std::vector<ScriptedRequest> requests_;
    std::deque<MainQueue::Task> tasks_;
};

TEST(JobPoints, HoldWhatTheHeadersPromise) {
    const std::vector<Script> scripts = {
        {"01234pp34pp56s"},
        {"0f", Step::search},
        {"01f", Step::createRoot},
        {"012f", Step::createDestination},
        {"01233f", Step::session},
        {"01234pp34ppf", Step::content},
        {"01234pp34pp5f", Step::permission},
        {"01234pp34pp56f", Step::link},
        // The second session is asked for once the main queue was told about the first file.
        {"012334ppf", std::nullopt, true},
    };
    int combinations = 0;
    for (const auto& script : scripts) {
        for (const auto place : {Place::boundary, Place::progress, Place::completion}) {
            for (unsigned action = cancels; action < afterLastAction; ++action) {
                for (int number = 0; Trial({script, place, action, number}).play(); ++number) {
                    ++combinations;
                    ASSERT_FALSE(HasFailure())
                        << script.course << ", place " << static_cast<int>(place) << ", number "
                        << number << ", action " << action;
                }
            }
        }
    }
    EXPECT_GT(combinations, 600);
}

} // namespace

} // namespace cirrus::tests
