// cirrus-desktop: a complete host with windows. Shares files and shows the link.

#include <Cirrus/Version.h>
#include <Cirrus/adapters/Qt.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string_view>

#include "Keyring.h"
#include "ShareWindow.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::emulator::LocalDrive;

/// "2M" or "500k" in bytes; 0 if it is nothing of the kind.
quint64 toBytes(QString size) {
    const auto unit = QString("kMG").indexOf(size.right(1), 0, Qt::CaseInsensitive);
    if (unit >= 0) {
        size.chop(1);
    }
    return static_cast<quint64>(std::max(0.0, size.toDouble() * std::pow(1000, unit + 1)));
}

struct Arguments {
    bool useEmulator = false;
    quint64 rate = 0; ///< of the emulator, in bytes a second; 0 for no limit
    QString client;
    QStringList files;
};

/// Ends the process itself when asked for help, or not understood.
Arguments readArguments(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Shares files through Google Drive and shows the link.");
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption emulator("emulator", "A local Drive, gone at the end.");
    parser.addOption(emulator);
    const QCommandLineOption rate("rate", "Bytes that the local Drive reads in a second, as 2M.",
                                  "size");
    parser.addOption(rate);
    const QCommandLineOption client(
        "client", "The client's JSON file from Google's console, to sign in with.", "file");
    parser.addOption(client);
    parser.addPositionalArgument("files", "What to share.", "[files...]");
    parser.process(application);
    const auto bytes = toBytes(parser.value(rate));
    if (parser.isSet(rate) && bytes == 0) {
        std::cerr << "cirrus-desktop: not a size like 2M: " << parser.value(rate).toStdString()
                  << '\n';
        std::exit(1);
    }
    return {.useEmulator = parser.isSet(emulator),
            .rate = bytes,
            .client = parser.value(client),
            .files = parser.positionalArguments()};
}

} // namespace

int main(int count, char** values) {
    const bool isQuestion = std::any_of(values, values + count, [](const std::string_view word) {
        return word == "-h" || word.starts_with("--help") || word == "-v" || word == "--version";
    });
    if (isQuestion) {
        qputenv("QT_QPA_PLATFORM", "offscreen"); // there may be no display
    }
    const QApplication application(count, values);
    QApplication::setApplicationName("cirrus-desktop");
    QApplication::setApplicationVersion(cirrus::CirrusVersionString);
    const auto arguments = readArguments(application);
    cirrus::useQtEventLoop();

    Keyring keyring;
    Account account(keyring);
    if (QFile client(arguments.client);
        !arguments.client.isEmpty() &&
        !(client.open(QIODevice::ReadOnly) && account.setClient(client.readAll()))) {
        std::cerr << "cirrus-desktop: no client for desktop applications in "
                  << arguments.client.toStdString() << '\n';
        return 1;
    }
    std::unique_ptr<LocalDrive> drive;
    std::unique_ptr<ShareWindow> window;
    if (arguments.useEmulator) {
        auto started =
            LocalDrive::start({.emulator = {.contents = cirrus::emulator::ContentPolicy::digest,
                                            .rate = arguments.rate}});
        if (!started) {
            std::cerr << "cirrus-desktop: " << started.error().diagnosticText() << '\n';
            return 1;
        }
        drive = *std::move(started);
        window = std::make_unique<ShareWindow>((*drive)->accessToken());
        window->setWindowTitle(ShareWindow::tr("Share files – local Drive"));
    } else {
        window = std::make_unique<ShareWindow>(account);
    }
    window->addFiles(arguments.files);
    window->show();
    return QApplication::exec();
}
