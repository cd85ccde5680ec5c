// Shares the files of a folder once and prints one line of figures about itself.

#include <sys/resource.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>

#include "bench/Contender.h"

namespace {

using namespace cirrus::bench;

struct Arguments {
    std::string contender = "cirrus";
    std::filesystem::path folder;
    std::filesystem::path authorityFile;
    Task task;
};

void describe(CLI::App& app, Arguments& arguments) {
    app.add_option("--contender", arguments.contender, "cirrus or curl")
        ->check(CLI::IsMember({"cirrus", "curl"}));
    app.add_option("--server", arguments.task.port, "Port of the local Drive")->required();
    app.add_option("--ca", arguments.authorityFile, "The certificate to trust")->required();
    app.add_option("--token", arguments.task.token, "Access token")->required();
    app.add_option("--jobs", arguments.task.jobs, "Shares of the same files, all at once");
    app.add_option("folder", arguments.folder, "Folder of the files to share")->required();
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

/// User and system time of this process so far.
double processorSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A number out of the kernel's account of this process.
long statusOf(std::string_view key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key)) {
            return std::stol(line.substr(key.size()));
        }
    }
    return 0;
}

int run(const Arguments& arguments) {
    const double processorBefore = processorSeconds();
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = arguments.contender == "cirrus" ? shareWithCirrus(arguments.task)
                                                            : shareWithCurl(arguments.task);
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const double processor = processorSeconds() - processorBefore;
    if (!outcome) {
        std::cerr << outcome.error() << '\n';
        return 1;
    }
    std::cout << "wall " << wall.count() << " cpu " << processor << " peak_kib "
              << statusOf("VmHWM:") << " threads " << statusOf("Threads:") << '\n';
    return 0;
}

} // namespace

int main(int count, char** words) {
    CLI::App app{"One run of one contender."};
    Arguments arguments;
    describe(app, arguments);
    CLI11_PARSE(app, count, words);
    arguments.task.authority = contentOf(arguments.authorityFile);
    arguments.task.files = filesIn(arguments.folder);
    return run(arguments);
}
