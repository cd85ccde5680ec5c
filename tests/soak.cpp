// Random jobs under a host that acts at random moments: other threads upload, cancel and replace
// the log, the main thread also destroys. Then the journal is held against the rules.
#include <malloc.h>

#include <algorithm>
#include <deque>
#include <iostream>
#include <map>
#include <random>
#include <shared_mutex>

#include "Cirrus/Cirrus.h"
#include "Cirrus/ShareJob.h"
#include "Cirrus/platform/SerialQueue.h"
#include "Cirrus/platform/UrlSession.h"
#include "Cirrus/webservice/GoogleWebservice.h"
#include "emulator/LocalDrive.h"
#include "tests/support/ScriptedWebservice.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace cirrus::tests {

namespace {

const auto mainThread = std::this_thread::get_id();
thread_local bool isInHostCall = false;
const TemporaryFolder folder;
const auto file = folder.write("file", "12");
std::deque<SerialQueue> threads;

struct Sink final : LogSink {
    using Text = std::string_view;

    explicit Sink(std::function<void()> line) : hear(std::move(line)) {}

    void detail(const Message&, Text, Text, int, const std::any&) override { hear(); }

    void notice(const Message&, Text, Text, int, const std::any&) override { hear(); }

    void failure(const Message&, Text, Text, int, const std::any&) override { hear(); }

    std::function<void()> hear;
};

/// Host calls begin, [u]pload, [c]ancel, [d]estroy, and end, in capitals; [p]rogress and [r]esult
/// are called; what a pair of callbacks [h]eld is let go; the schedule [e]nds.
struct Event {
    char what;
    std::size_t pair;
    bool isOnMainThread, isInCall;

    [[nodiscard]] bool isCallback() const { return what == 'p' || what == 'r'; }
};

class Schedule {
public:
    explicit Schedule(std::size_t seed) : random_(static_cast<unsigned>(seed)) {}

    /// Returns the rule that was broken, if any, after the journal.
    std::string run(std::shared_ptr<Webservice> service) {
        if (!service) {
            service = std::make_shared<ScriptedWebservice>([this](auto request) {
                later([this, request = std::move(request)]() mutable { answer(request); });
            });
        }
        job_ = std::make_shared<ShareJob>(
            ShareJob::Context({file, roll(4) == 0 ? folder.path() / "none" : file}, "Root", "Job"),
            std::exchange(service, nullptr));
        act(2);
        act(0);
        std::size_t linesBefore = 0;
        do {
            linesBefore = lines_;
            later([] { UrlSession::shared().waitUntilIdle(); });
            if (!pumpUntil([this] { return work_ == 0; })) {
                return "comes to no rest";
            }
        } while (MainQueue::drain() > 0 || work_ > 0 || lines_ != linesBefore);
        call('e', 0, [this] { job_.reset(); });
        return brokenRule();
    }

    void print() const {
        for (const auto& [what, pair, isOnMainThread, isInCall] : events_) {
            std::cerr << what << pair << (isOnMainThread ? " main\n" : "\n");
        }
    }

private:
    std::size_t roll(std::size_t sides) {
        const std::scoped_lock lock(mutex_);
        return random_() % sides;
    }

    void note(char what, std::size_t pair) {
        const std::scoped_lock lock(mutex_);
        events_.push_back({what, pair, std::this_thread::get_id() == mainThread, isInHostCall});
    }

    void call(char what, std::size_t pair, const auto& operation) {
        note(what, pair);
        isInHostCall = true;
        operation();
        isInHostCall = false;
        note(static_cast<char>(std::toupper(what)), pair);
    }

    /// Does something on some thread, and wakes the main thread after the last of it.
    void later(SerialQueue::Task task) {
        ++work_;
        threads[roll(threads.size())].post([this, task = std::move(task)]() mutable {
            std::exchange(task, nullptr)();
            if (--work_ == 0) {
                MainQueue::post([] {});
            }
        });
    }

    void meddle() {
        ++lines_;
        if (roll(4) == 0 && deeds_++ < 6) {
            roll(3) == 0 ? MainQueue::post([this] { act(roll(5)); })
                         : later([this] { act(roll(3)); });
        }
    }

    /// From 3 on, for the main thread alone; from 5 on, nothing.
    void act(std::size_t deed) {
        if (deed == 2) {
            Configuration::setLog(std::make_shared<Sink>([this] { meddle(); }));
        } else if (deed == 4) {
            MainQueue::drain();
        } else if (deed == 3) {
            const std::scoped_lock lock(access_);
            call('d', 0, [this] { job_.reset(); });
        } else if (const std::shared_lock lock(access_); job_ && deed < 2) {
            deed == 0 ? upload(pairs_++) : call('c', 0, [this] { job_->cancel(); });
        }
    }

    void upload(std::size_t pair) {
        call('u', pair, [this, pair] {
            const std::shared_ptr<void> held(nullptr, [this, pair](void*) { note('h', pair); });
            const auto hear = [this, pair, held](char what) {
                note(what, pair);
                deeds_++ < 6 ? act(roll(12)) : void();
            };
            job_->upload([hear](const auto&) { hear('p'); }, [hear](const auto&) { hear('r'); });
        });
    }

    void answer(ScriptedRequest& request) {
        for (std::uint64_t sent = 1; request.progress && sent <= 2; ++sent) {
            request.progress->setCompletedUnitCount(sent);
        }
        request.answer(roll(20) != 0);
    }

    /// Where in the journal an event is; its end when it is not there.
    [[nodiscard]] auto find(char what, std::size_t pair) const {
        return std::ranges::find_if(
            events_, [=](const auto& event) { return event.what == what && event.pair == pair; });
    }

    [[nodiscard]] std::string brokenRule() const {
        for (auto event = events_.begin(); event != events_.end(); ++event) {
            if (!event->isOnMainThread &&
                (event->isCallback() || (event->what == 'h' && !event->isInCall))) {
                return "on a wrong thread";
            }
            if (event->isCallback() && find('r', event->pair) < event) {
                return "called after the completion";
            }
            const auto isLate = [&](const Event& later) {
                const bool isReplaced =
                    event->what == 'U' && find('U', later.pair) < find('u', event->pair);
                return later.isCallback() && (event->what == 'C' || isReplaced);
            };
            if (std::count_if(event, events_.end(), isLate) > (event->isOnMainThread ? 0 : 1)) {
                return "called after it was cancelled or replaced";
            }
        }
        if (std::cmp_not_equal(std::ranges::count(events_, 'h', &Event::what), pairs_.load())) {
            return "captures are kept";
        }
        const auto isOneOf = [](const Event& event) {
            return std::string_view("cdr").contains(event.what);
        };
        return std::ranges::any_of(events_, isOneOf) ? "" : "no outcome";
    }

    std::mutex mutex_;
    std::mt19937 random_;
    std::vector<Event> events_;
    std::atomic<std::size_t> work_ = 0, pairs_ = 0, deeds_ = 0, lines_ = 0;
    std::shared_mutex access_;
    std::shared_ptr<ShareJob> job_;
};

bool soak(std::size_t schedules, std::size_t seed) {
    std::unique_ptr<emulator::LocalDrive> drive;
    std::string broken;
    for (std::size_t number = 0; number < schedules && broken.empty(); ++number) {
        if (number % 5000 == 0) {
            drive.reset(); // one at a time
            drive = emulator::LocalDrive::start().value();
        }
        Schedule schedule(seed + number);
        const bool isReal = (seed + number) % 50 == 0;
        broken = schedule.run(isReal ? std::make_shared<GoogleWebservice>((*drive)->accessToken())
                                     : nullptr);
        if (!broken.empty()) {
            schedule.print();
            std::cerr << broken << ": --schedules 1 --seed " << seed + number << '\n';
        }
    }
    return broken.empty();
}

/// Threads, open descriptors and allocated bytes of the process.
std::array<std::ptrdiff_t, 3> usage() {
    const auto entries = [](const char* path) {
        return std::distance(std::filesystem::directory_iterator(path), {});
    };
    return {entries("/proc/self/task"), entries("/proc/self/fd"),
            static_cast<std::ptrdiff_t>(::mallinfo2().uordblks)};
}

/// Whether jobs, every third of them refused, leave no more behind than the first few hundred.
bool endure(std::size_t jobs) {
    std::array<std::ptrdiff_t, 3> before{};
    for (std::size_t job = 0; job < jobs;) {
        before = job == 300 ? usage() : before;
        const auto drive = emulator::LocalDrive::start().value();
        do {
            bool isDone = false;
            ShareController controller({{file}, "Root", "Job"},
                                       job % 3 == 0 ? "" : (*drive)->accessToken());
            controller.upload({}, [&isDone](const auto&) { isDone = true; });
            if (!pumpUntil([&isDone] { return isDone; })) {
                return false;
            }
        } while (++job % 100 != 0);
    }
    const auto after = usage();
    constexpr std::ptrdiff_t tolerance = 128 * 1024; // what starting Drives leaves, and more
    std::cout << after[0] - before[0] << " threads, " << after[1] - before[1] << " descriptors, "
              << after[2] - before[2] << " bytes more\n";
    return after[0] <= before[0] && after[1] <= before[1] && after[2] <= before[2] + tolerance;
}

} // namespace

} // namespace cirrus::tests

int main(int count, char** arguments) {
    std::map<std::string, std::size_t> options = {
        {"--schedules", 100'000}, {"--seed", 1}, {"--threads", 2}, {"--jobs", 0}};
    for (int index = 1; index + 1 < count; index += 2) {
        options.at(arguments[index]) = std::stoul(arguments[index + 1]);
    }
    cirrus::tests::threads.resize(options["--threads"]);
    const auto jobs = options["--jobs"];
    return jobs > 0 ? !cirrus::tests::endure(jobs)
                    : !cirrus::tests::soak(options["--schedules"], options["--seed"]);
}
