// cirrus-share: a small complete host. Shares files and prints the link.

#include <Cirrus/Cirrus.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "Arguments.h"
#include "Terminal.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::ShareController;
using cirrus::emulator::LocalDrive;

enum ExitStatus { shared = 0, failed = 1, cancelled = 130 };

std::unique_ptr<LocalDrive> startEmulator(Arguments& arguments) {
    auto drive =
        LocalDrive::start({.emulator = {.contents = cirrus::emulator::ContentPolicy::digest,
                                        .rate = arguments.rate}});
    if (!drive) {
        std::cerr << "cirrus-share: " << drive.error().reason << '\n';
        return nullptr;
    }
    arguments.token = (**drive)->accessToken();
    return *std::move(drive);
}

/// Writes the files of the local Drive in the format of sha256sum; false if that fails.
bool listContents(LocalDrive& drive, const std::filesystem::path& list) {
    std::ofstream lines(list);
    const auto snapshot = drive->snapshot();
    for (const auto& file : snapshot.files) {
        if (!file.isFolder()) {
            lines << file.content.sha256 << "  " << snapshot.pathOf(file) << '\n';
        }
    }
    return static_cast<bool>(lines.flush());
}

int report(Terminal& terminal, const cirrus::Result<cirrus::Url, ShareController::Error>& result,
           const std::vector<cirrus::FailedFile>& failedFiles) {
    if (!result) {
        const auto text = result.error().errorDescription().value_or("");
        terminal.writeLine(text.empty() ? "The files could not be shared." : text);
        for (const auto& file : failedFiles) {
            terminal.writeLine(file.path.string() + ": " + file.diagnosticText);
        }
        return failed;
    }
    if (!(std::cout << result->text() << '\n' << std::flush)) {
        terminal.writeLine("The link could not be written to standard output: " + result->text());
        return failed;
    }
    return shared;
}

int share(const Arguments& arguments, Interrupt& interrupt, Terminal& terminal) {
    cirrus::ScopedShareController job(ShareController(
        ShareController::Context(arguments.files, arguments.root, arguments.destination,
                                 arguments.email, arguments.message, arguments.expiration),
        arguments.token));
    std::optional<int> status;
    job->upload([&](const auto& progress) { terminal.showProgress(progress->fractionCompleted()); },
                [&](const auto& result) {
                    terminal.endProgress();
                    status = report(terminal, result, job->failedFiles());
                });
    while (!status) {
        if (!interrupt.runMainQueue()) {
            job.stop();
            terminal.endProgress();
            status = cancelled;
        }
    }
    return *status;
}

} // namespace

int main(int count, char** values) {
    auto arguments = readArguments(count, values);
    if (!arguments) {
        return arguments.error();
    }
    Interrupt interrupt;
    // Never destroyed: steps may still write while the process exits.
    static auto& terminal = *new Terminal;
    if (arguments->log) {
        cirrus::Configuration::setLog(makeLog(terminal));
    }
    for (const auto& file : arguments->files) {
        if (const auto name = file.filename().string(); visible(name) != name) {
            terminal.writeLine("This name may look different in the share: " + visible(name));
        }
    }
    std::unique_ptr<LocalDrive> drive;
    if (arguments->useEmulator) {
        drive = startEmulator(*arguments);
        if (!drive) {
            return failed;
        }
    }
    const int status = share(*arguments, interrupt, terminal);
    if (drive && !arguments->contents.empty() && !listContents(*drive, arguments->contents)) {
        terminal.writeLine("The contents could not be listed.");
        return failed;
    }
    return status;
}
