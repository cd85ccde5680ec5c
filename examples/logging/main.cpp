// Shares a file through a local Drive and writes the library's account of it with spdlog.

#include <spdlog/sinks/stdout_sinks.h>

#include "SpdlogSink.h"
#include <Cirrus/emulator/LocalDrive.h>

int main(int count, char** arguments) {
    if (count != 2) {
        spdlog::error("usage: {} FILE", arguments[0]);
        return 2;
    }
    const auto drive = cirrus::emulator::LocalDrive::start();
    if (!drive) {
        spdlog::error("{}", drive.error().diagnosticText());
        return 1;
    }

    const auto logger = spdlog::stdout_logger_mt("cirrus");
    logger->set_level(spdlog::level::debug);
    logger->set_pattern("%l %s:%# %!: %v");
    cirrus::Configuration::setLog(std::make_shared<SpdlogSink>(logger));

    cirrus::ShareController controller({{arguments[1]}, "Stashly", "Log"},
                                       (**drive)->accessToken());
    controller.upload({}, [](const auto&) { cirrus::MainQueue::stop(); });
    cirrus::MainQueue::run();
    return 0;
}
