#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "emulator/Crypto.h"
#include <Cirrus/emulator/Emulator.h>

namespace {

namespace emulator = cirrus::emulator;

struct Arguments {
    emulator::Options options;
    std::filesystem::path authorityFile;
    std::filesystem::path clientFile;
    bool discard = false;
    bool list = false;
    bool requests = false;
};

void describe(CLI::App& app, Arguments& arguments) {
    app.add_option("--port", arguments.options.port, "Port on 127.0.0.1 (default: a free one)");
    app.add_option("--token", arguments.options.accessToken,
                   "Access token to ask for (default: a random one)");
    app.add_option("--ca-file", arguments.authorityFile,
                   "Where to write the certificate to trust (default: a temporary file)");
    app.add_option("--client-file", arguments.clientFile,
                   "Where to write the JSON file with which a program signs users in");
    app.add_option("--certificate-host", arguments.options.certificateHosts,
                   "Further host names for the certificate");
    app.add_option("--rate", arguments.options.rate,
                   "Bytes to read in a second, such as 2M (default: no limit)")
        ->transform(CLI::AsSizeValue(true));
    app.add_flag("--discard", arguments.discard, "Keep of uploaded contents only their size");
    app.add_flag("--list", arguments.list, "List at the end what was uploaded");
    app.add_flag("--requests", arguments.requests, "List at the end what was asked");
}

bool write(const std::filesystem::path& path, const std::string& text) {
    if (std::ofstream(path, std::ios::binary) << text << std::flush) {
        return true;
    }
    std::cerr << "cannot write " << path.string() << '\n';
    return false;
}

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

void list(const emulator::Snapshot& snapshot) {
    for (const emulator::DriveFile& file : snapshot.files) {
        if (!file.isFolder()) {
            std::cout << snapshot.pathOf(file) << '\t' << file.content.size << '\t'
                      << (file.content.sha256.empty() ? "-" : file.content.sha256) << '\n';
        }
    }
    std::cout << std::flush;
}

void listRequests(const emulator::Snapshot& snapshot) {
    for (const auto& request : snapshot.requests) {
        std::cout << request.method << '\t' << request.target << '\t' << request.status.value_or(0)
                  << '\n';
    }
    std::cout << std::flush;
}

int run(Arguments arguments) {
    // Blocked before the first thread starts, so that all threads inherit that and sigwait gets
    // them.
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // Nothing in this program reads contents back, so their bytes are never kept.
    arguments.options.contents =
        arguments.discard ? emulator::ContentPolicy::discard : emulator::ContentPolicy::digest;
    const auto drive = emulator::Emulator::start(std::move(arguments.options));
    if (!drive) {
        std::cerr << drive.error().diagnosticText() << '\n';
        return EXIT_FAILURE;
    }
    const bool isTemporary = arguments.authorityFile.empty();
    if (isTemporary) {
        arguments.authorityFile = std::filesystem::temp_directory_path() /
                                  ("drive-authority-" + emulator::randomIdentifier() + ".pem");
    }
    if ((!arguments.clientFile.empty() && !write(arguments.clientFile, (*drive)->clientFile())) ||
        !write(arguments.authorityFile, (*drive)->certificateAuthority())) {
        return EXIT_FAILURE;
    }
    std::cout << "address: https://127.0.0.1:" << (*drive)->port() << '\n'
              << "token: " << (*drive)->accessToken() << '\n'
              << "ca: " << arguments.authorityFile.string() << '\n'
              << std::flush;
    int received = 0;
    sigwait(&signals, &received);
    std::error_code ignored;
    if (isTemporary) {
        std::filesystem::remove(arguments.authorityFile, ignored);
    }
    if (arguments.list) {
        list((*drive)->snapshot());
    }
    if (arguments.requests) {
        listRequests((*drive)->snapshot());
    }
    return EXIT_SUCCESS;
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): out of memory ends this program in any case
int main(int count, char** words) {
    CLI::App app{"A local Google Drive for trying out and measuring its clients.",
                 "cirrus-drive-emulator"};
    app.set_version_flag("--version", "cirrus-drive-emulator " CIRRUS_VERSION);
    Arguments arguments;
    describe(app, arguments);
    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : 2;
    }
    return run(std::move(arguments));
}
