// cirrus-share: a small complete host. Shares files and prints the link.

#include <Cirrus/Cirrus.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include "Arguments.h"
#include "Terminal.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::ShareController;
using cirrus::emulator::LocalDrive;

enum ExitStatus { shared = 0, failed = 1, cancelled = 130 };

std::unique_ptr<LocalDrive> startEmulator(Arguments& arguments) {
    auto drive =
        LocalDrive::start({.emulator = {.contents = cirrus::emulator::ContentPolicy::digest}});
    if (!drive) {
        std::cerr << "cirrus-share: " << drive.error().reason << '\n';
        return nullptr;
    }
    arguments.token = (**drive)->accessToken();
    return *std::move(drive);
}

/// Writes the files of the local Drive in the format of sha256sum.
void listContents(LocalDrive& drive, const std::filesystem::path& list) {
    std::ofstream lines(list);
    const auto snapshot = drive->snapshot();
    for (const auto& file : snapshot.files) {
        if (!file.isFolder()) {
            lines << file.content.sha256 << "  " << snapshot.pathOf(file) << '\n';
        }
    }
}

int report(const cirrus::Result<cirrus::Url, ShareController::Error>& result) {
    if (result) {
        std::cout << result->text() << '\n' << std::flush;
        return shared;
    }
    std::cerr << result.error().errorDescription().value_or("The files could not be shared.")
              << '\n';
    return failed;
}

int share(const Arguments& arguments, Interrupt& interrupt) {
    auto controller = std::make_unique<ShareController>(
        ShareController::Context(arguments.files, arguments.root, arguments.destination,
                                 arguments.email, arguments.message, arguments.expiration),
        arguments.token);
    ProgressBar bar;
    std::optional<int> status;
    controller->upload([&bar](const auto& progress) { bar.show(progress->fractionCompleted()); },
                       [&bar, &status](const auto& result) {
                           bar.close();
                           status = report(result);
                       });
    while (!status) {
        if (!interrupt.runMainQueue()) {
            // Either alone would let steps run on.
            controller->cancel();
            controller.reset();
            bar.close();
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
    if (arguments->log) {
        cirrus::Configuration::setLog(std::make_shared<StderrLog>());
    }
    std::unique_ptr<LocalDrive> drive;
    if (arguments->useEmulator) {
        drive = startEmulator(*arguments);
        if (!drive) {
            return failed;
        }
    }
    const int status = share(*arguments, interrupt);
    if (drive && !arguments->contents.empty()) {
        listContents(*drive, arguments->contents);
    }
    return status;
}
