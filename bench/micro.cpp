// The pieces of a job one by one, with the number of allocations where it tells something.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "Cirrus/Log.h"
#include "Cirrus/platform/Data.h"
#include "Cirrus/platform/Progress.h"
#include "Cirrus/platform/UrlBuilder.h"
#include "Cirrus/records/FileList.h"
#include "Cirrus/webservice/RequestUrlType.h"
#include "bench/DroppingLog.h"

namespace {

std::atomic<std::uint64_t> allocations = 0;

} // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace cirrus;

/// Runs `body` and counts what it allocates.
void measure(benchmark::State& state, const auto& body) {
    const auto before = allocations.load();
    for (auto _ : state) {
        body();
    }
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations - before),
                                                       benchmark::Counter::kAvgIterations);
}

std::string searchAnswer(int folders) {
    FileList list{.kind = "drive#fileList", .incompleteSearch = false, .files = {}};
    for (int number = 0; number < folders; ++number) {
        list.files.push_back({.identifier = "1a2b3c4d5e6f7g8h9i0j" + std::to_string(number),
                              .kind = "drive#file",
                              .name = "Stashly",
                              .mimeType = "application/vnd.google-apps.folder",
                              .webLink = std::nullopt,
                              .downloadLink = std::nullopt});
    }
    return writeJson(list.encode()).value();
}

void decodeSearchAnswer(benchmark::State& state) {
    const std::string text = searchAnswer(static_cast<int>(state.range(0)));
    measure(state, [&] {
        const auto json = parseJson(text);
        benchmark::DoNotOptimize(FileList::decode(*json));
    });
}

BENCHMARK(decodeSearchAnswer)->Arg(1)->Arg(100);

/// The address of a request with its query; the client adds a token and sends it.
void buildAddress(benchmark::State& state, const std::string& path, const QueryItems& items) {
    measure(state, [&] {
        benchmark::DoNotOptimize(
            UrlBuilder::replacingQuery(RequestUrlType::path(path).resolved(), items));
    });
}

BENCHMARK_CAPTURE(buildAddress, findDirectory, "files",
                  {{"q", "mimeType = 'application/vnd.google-apps.folder' and name = 'Stashly'"}});
BENCHMARK_CAPTURE(buildAddress, requestFile, "files/1a2b3c4d5e6f7g8h9i0j",
                  {{"fields", "id, kind, name, mimeType, webContentLink, webViewLink"}});

/// The address of a request without a query, and its body.
void buildBody(benchmark::State& state, const std::string& path, const JsonValue::Object& body) {
    measure(state, [&] {
        benchmark::DoNotOptimize(RequestUrlType::path(path).resolved());
        benchmark::DoNotOptimize(Data(writeJson(body).value()));
    });
}

BENCHMARK_CAPTURE(buildBody, createDirectory, "files",
                  {{"mimeType", "application/vnd.google-apps.folder"},
                   {"name", "Photos"},
                   {"parents", JsonValue::Array{"1a2b3c4d5e6f7g8h9i0j"}}});
BENCHMARK_CAPTURE(buildBody, createUploadUrl, "files",
                  {{"name", "photo.jpg"}, {"parents", JsonValue::Array{"1a2b3c4d5e6f7g8h9i0j"}}});
BENCHMARK_CAPTURE(buildBody, createPermission, "files/1a2b3c4d5e6f7g8h9i0j/permissions",
                  {{"role", "reader"}, {"type", "anyone"}});

/// One change of one of many unfinished children, up to an observer of their parent.
void changeProgress(benchmark::State& state) {
    const auto children = static_cast<std::uint64_t>(state.range(0));
    constexpr std::uint64_t unitsPerChild = 100;
    const auto parent = Progress::create(children * unitsPerChild);
    std::vector<std::shared_ptr<Progress>> held;
    for (std::uint64_t number = 0; number < children; ++number) {
        held.push_back(Progress::create(std::uint64_t{1} << 40U));
        parent->addChild(held.back(), unitsPerChild);
    }
    std::uint64_t changes = 0;
    const auto observation = parent->observe([&changes](const Progress&) { ++changes; });
    // Enough for each change to reach the parent, and for longer than any run takes.
    constexpr std::uint64_t step = std::uint64_t{1} << 15U;
    std::uint64_t done = 0;
    measure(state, [&] {
        done += step;
        held[done / step % held.size()]->setCompletedUnitCount(done);
    });
    state.counters["callbacks"] =
        benchmark::Counter(static_cast<double>(changes), benchmark::Counter::kAvgIterations);
}

BENCHMARK(changeProgress)->Arg(1)->Arg(10'000)->Iterations(1'000'000);

void writeLine(benchmark::State& state) {
    constexpr UnitLog log("bench/micro.cpp");
    const std::filesystem::path file("/folder/photo.jpg");
    measure(state, [&] { log.detail("writeLine", "Could not read contents of file ", file); });
}

/// Must come first: a sink stays for the life of the process.
BENCHMARK(writeLine)->Name("writeLine/absent");
BENCHMARK(writeLine)->Name("writeLine/dropping")->Setup([](const benchmark::State&) {
    Configuration::setLog(std::make_shared<bench::DroppingLog>());
});

} // namespace
