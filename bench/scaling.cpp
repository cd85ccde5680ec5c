// How the library's own work grows with the number of files: a job over a service that answers
// every request at once, from a thread of its own. Prints microseconds per file.

#include <Cirrus/Cirrus.h>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <utility>

#include "Cirrus/ShareJob.h"
#include "Cirrus/platform/threads/TaskQueue.h"

namespace {

using namespace cirrus;

/// Succeeds always. A transfer makes two progress changes, and finishes.
class InstantService final : public Webservice {
public:
    InstantService() = default;
    InstantService(const InstantService&) = delete;
    InstantService& operator=(const InstantService&) = delete;

    ~InstantService() override { answers_.stop(); }

    void findDirectory(const std::string&, Completion<FileList> completion) override {
        answer(std::move(completion),
               FileList{.kind = "drive#fileList", .incompleteSearch = false, .files = {file_}});
    }

    void createDirectory(const std::string&, const std::optional<std::string>&,
                         Completion<File> completion) override {
        answer(std::move(completion), file_);
    }

    void createUploadUrl(const std::string&, std::int64_t, const std::string&,
                         Completion<Url> completion) override {
        answer(std::move(completion), *file_.webLink);
    }

    void upload(SharedBytes, const Url&, const ProgressReceiver& progress,
                Completion<File> completion) override {
        auto transfer = Progress::create(4);
        progress(transfer);
        answers_.post([this, transfer, completion = std::move(completion)]() {
            transfer->setCompletedUnitCount(1);
            transfer->setCompletedUnitCount(2);
            transfer->finish();
            completion(file_);
        });
    }

    void createPermission(const std::string&, const std::string&, const std::string&,
                          const std::optional<std::string>&, const std::optional<std::string>&,
                          std::optional<std::chrono::system_clock::time_point>,
                          Completion<Permission> completion) override {
        answer(std::move(completion), Permission{.kind = "drive#permission",
                                                 .identifier = "anyone",
                                                 .type = "anyone",
                                                 .role = "reader",
                                                 .allowFileDiscovery = false});
    }

    void requestFile(const std::string&, Completion<File> completion) override {
        answer(std::move(completion), file_);
    }

private:
    template <class Value>
    void answer(Completion<Value> completion, Value value) {
        answers_.post([completion = std::move(completion), value = std::move(value)]() {
            completion(value);
        });
    }

    File file_{.identifier = "id",
               .kind = "drive#file",
               .name = "name",
               .mimeType = "text/plain",
               .webLink = Url::parse("https://drive.google.com/id"),
               .downloadLink = std::nullopt};
    TaskQueue answers_;
    std::jthread thread_{[this] {
        while (const auto task = answers_.wait()) {
            task();
        }
    }};
};

class Stopwatch {
public:
    /// Microseconds since the last call or the beginning.
    double lap() {
        const auto before = std::exchange(last_, std::chrono::steady_clock::now());
        return std::chrono::duration<double, std::micro>(last_ - before).count();
    }

private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

/// Shares the same small file `count` times; false when that failed.
bool measure(const std::filesystem::path& file, std::size_t count) {
    bool isShared = false;
    const auto service = std::make_shared<InstantService>();
    Stopwatch stopwatch;
    auto job = std::make_shared<ShareJob>(
        ShareController::Context(std::vector<std::filesystem::path>(count, file), "Root",
                                 "Destination"),
        service);
    const double construction = stopwatch.lap();
    job->upload([](const auto&) {},
                [&isShared](const auto& result) {
                    isShared = result.has_value();
                    MainQueue::stop();
                });
    MainQueue::run();
    job.reset();
    const double run = stopwatch.lap();
    const auto files = static_cast<double>(count);
    std::cout << "files " << count << " construction " << construction / files << " run "
              << run / files << '\n';
    return isShared;
}

} // namespace

int main() {
    const auto file =
        std::filesystem::temp_directory_path() / ("cirrus-scaling-" + std::to_string(::getpid()));
    std::ofstream(file) << "content";
    bool areShared = true;
    for (const std::size_t count : {1'000, 10'000, 100'000}) {
        areShared = measure(file, count) && areShared;
    }
    std::filesystem::remove(file);
    return areShared ? EXIT_SUCCESS : EXIT_FAILURE;
}
