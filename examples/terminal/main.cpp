// cirrus-share: a small complete host. Shares files and prints the link.

#include <Cirrus/Cirrus.h>

#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "Console.h"
#include "LocalService.h"
#include "SignIn.h"
#include "Terminal.h"

namespace {

using cirrus::ShareController;

enum ExitStatus { shared = 0, failed = 1, cancelled = 130 };

int report(Terminal& terminal, const cirrus::Result<cirrus::Url, ShareController::Error>& result,
           const std::vector<cirrus::FailedFile>& failedFiles) {
    if (!result) {
        const auto text = result.error().errorDescription().value_or("");
        terminal.writeLine(text.empty() ? "The files could not be shared." : text);
        for (const auto& file : failedFiles) {
            terminal.writeLine(toText(file.path) + ": " + file.errorDescription);
        }
        return failed;
    }
    if (!(std::cout << result->text() << '\n' << std::flush)) {
        terminal.writeLine("The link could not be written to standard output: " + result->text());
        return failed;
    }
    return shared;
}

int share(const Arguments& arguments, Terminal& terminal) {
    cirrus::ScopedShareController job(ShareController(
        ShareController::Context(arguments.files, arguments.root, arguments.destination,
                                 arguments.email, arguments.message, arguments.expiration),
        arguments.token));
    int status = cancelled;
    job->upload([&](const auto& progress) { terminal.showProgress(progress->fractionCompleted()); },
                [&](const auto& result) {
                    terminal.endProgress();
                    status = report(terminal, result, job->failedFiles());
                    cirrus::MainQueue::stop();
                });
    if (!Interrupt::runMainQueue()) {
        job.stop();
        terminal.endProgress();
    }
    return status;
}

} // namespace

int main(int count, char** values) {
    if (const auto words = utf8Arguments(count, values);
        !words.empty() && words.front() == "sign-in") {
        return signInCommand({words.begin() + 1, words.end()});
    }
    auto arguments = readArguments(count, values);
    if (!arguments) {
        return arguments.error();
    }
    const Interrupt interrupt;
    prepareTerminal();
    // Never destroyed: steps may still write while the process exits.
    static auto& terminal = *new Terminal;
    if (arguments->log) {
        cirrus::Configuration::setLog(makeLog(terminal));
    }
    for (const auto& file : arguments->files) {
        if (const auto name = toText(file.filename()); visible(name) != name) {
            terminal.writeLine("This name may look different in the share: " + visible(name));
        }
    }
    std::unique_ptr<LocalService> service;
    if (arguments->useEmulator) {
        auto started = LocalService::start(arguments->rate);
        if (!started) {
            terminal.writeLine("cirrus-share: " + started.error());
            return failed;
        }
        service = *std::move(started);
        arguments->token = service->accessToken();
    }
    const int status = share(*arguments, terminal);
    if (service && !arguments->contents.empty() && !service->listContents(arguments->contents)) {
        terminal.writeLine("The contents could not be listed.");
        return failed;
    }
    return status;
}
