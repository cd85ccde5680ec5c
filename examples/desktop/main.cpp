// cirrus-desktop: a complete host with windows. Shares files and shows the link.

#include <Cirrus/adapters/Qt.h>

#include <QApplication>
#include <QCommandLineParser>

#include <algorithm>
#include <iostream>
#include <memory>

#include "ShareWindow.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::emulator::LocalDrive;

struct Arguments {
    bool useEmulator = false;
    quint64 rate = 0; ///< of the emulator, in bytes a second; 0 for no limit
    QStringList files;
};

/// Ends the process itself when asked for help, or not understood.
Arguments readArguments(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Shares files through Google Drive and shows the link.");
    parser.addHelpOption();
    const QCommandLineOption emulator("emulator", "A local Drive, gone at the end.");
    parser.addOption(emulator);
    const QCommandLineOption rate("rate", "Megabytes that the local Drive reads in a second.",
                                  "MB");
    parser.addOption(rate);
    parser.addPositionalArgument("files", "What to share.", "[files...]");
    parser.process(application);
    return {.useEmulator = parser.isSet(emulator),
            .rate = static_cast<quint64>(1e6 * std::max(0.0, parser.value(rate).toDouble())),
            .files = parser.positionalArguments()};
}

} // namespace

int main(int count, char** values) {
    const QApplication application(count, values);
    QApplication::setApplicationName("cirrus-desktop");
    const auto arguments = readArguments(application);
    cirrus::useQtEventLoop();

    std::unique_ptr<LocalDrive> drive;
    std::optional<std::string> token;
    if (arguments.useEmulator) {
        auto started =
            LocalDrive::start({.emulator = {.contents = cirrus::emulator::ContentPolicy::digest,
                                            .rate = arguments.rate}});
        if (!started) {
            std::cerr << "cirrus-desktop: " << started.error().reason << '\n';
            return 1;
        }
        drive = *std::move(started);
        token = (*drive)->accessToken();
    }
    ShareWindow window(token);
    if (drive) {
        window.setWindowTitle(ShareWindow::tr("Share files – local Drive"));
    }
    window.addFiles(arguments.files);
    window.show();
    return QApplication::exec();
}
