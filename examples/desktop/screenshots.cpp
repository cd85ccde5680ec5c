// Puts the real window into each of its states, off screen, and saves a picture of each.

#include <Cirrus/adapters/Qt.h>

#include <QApplication>
#include <QMessageBox>
#include <QPainter>
#include <QTemporaryDir>

#include <future>
#include <iostream>

#include "ShareWindow.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace {

using cirrus::emulator::Answer;
using cirrus::emulator::LocalDrive;
using cirrus::emulator::Request;

/// Nobody has signed in, and nobody will.
class Forgetful final : public SecretStore {
public:
    void read(std::function<void(const QString&)> whenRead) override { whenRead({}); }

    void write(const QString&) override {}
};

template <class Widget>
Widget& part(const QWidget& window, const char* name) {
    return *window.findChild<Widget*>(name);
}

QStringList makeFiles(const QTemporaryDir& folder) {
    QStringList paths;
    for (const int size : {4'718'592, 3'891'204, 5'242'880, 2'936'013, 6'211'938}) {
        const auto number = QString("%1").arg(paths.size() + 1, 2, 10, QChar('0'));
        QFile file(folder.filePath("Holiday " + number + ".jpg"));
        if (file.open(QIODevice::WriteOnly) && file.resize(size)) {
            paths.append(file.fileName());
        }
    }
    return paths;
}

void fillIn(const ShareWindow& window, const std::string& token) {
    part<QLineEdit>(window, "destination").setText("Holiday");
    part<QLineEdit>(window, "email").setText("maria@example.com");
    part<QPlainTextEdit>(window, "message").setPlainText("Hello Maria,\nhere are our pictures.");
    part<QCheckBox>(window, "expires").setChecked(true);
    part<QDateEdit>(window, "lastDay").setDate(QDate(QDate::currentDate().year(), 12, 31));
    part<QCheckBox>(window, "usesToken").setChecked(true);
    part<QLineEdit>(window, "token").setText(QString::fromStdString(token));
}

/// Lets the request for the upload of one file wait.
void holdFile(LocalDrive& drive, int number, const std::shared_future<void>& release) {
    drive->setHook([number, release, seen = 0](const Request& request) mutable {
        if (request.queryItem("uploadType") != nullptr &&
            request.queryItem("upload_id") == nullptr && ++seen == number) {
            release.wait();
        }
        return std::optional<Answer>();
    });
}

void waitFor(const std::function<bool()>& isDone) {
    while (!isDone()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// The window, with the message box over it if there is one.
QPixmap picture(ShareWindow& window) {
    auto shot = window.grab();
    if (auto* box = window.findChild<QMessageBox*>()) {
        QRect place(QPoint(), box->size());
        place.moveCenter(window.rect().center());
        // Where it hides the least.
        place.moveBottom(part<QWidget>(window, "files").geometry().bottom());
        QPainter painter(&shot);
        painter.drawPixmap(place, box->grab());
        painter.setPen(window.palette().color(QPalette::Dark));
        painter.drawRect(place);
    }
    return shot;
}

/// Gives the application a screen of its own, sharp enough for print.
void useScreen(const QString& description) {
    QFile file(description);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(R"({"screens": [{"name": "screen", "x": 0, "y": 0, "width": 1920,
            "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 2}]})");
    }
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + QFile::encodeName(description));
}

/// The colours of a desktop that is set to dark.
QPalette darkPalette() {
    QPalette palette(QColor(50, 50, 53), QColor(42, 42, 45));
    palette.setColor(QPalette::Base, QColor(30, 30, 32));
    palette.setColor(QPalette::AlternateBase, QColor(36, 36, 39));
    palette.setColor(QPalette::PlaceholderText, QColor(150, 150, 150));
    palette.setColor(QPalette::Highlight, QColor(53, 116, 240));
    return palette;
}

class Camera {
public:
    Camera(LocalDrive& drive, QString files) : drive_(drive), files_(std::move(files)) {}

    bool takeAll() {
        Forgetful store;
        Account account(store);
        ShareWindow window(account);
        window.show();
        save(window, "empty");

        const QTemporaryDir folder;
        window.addFiles(makeFiles(folder));
        fillIn(window, drive_->accessToken());
        part<QPushButton>(window, "share").setFocus();
        save(window, "ready");

        std::promise<void> release;
        holdFile(drive_, 4, release.get_future().share());
        part<QPushButton>(window, "share").click();
        waitFor([&] { return part<QProgressBar>(window, "progress").value() == 60; });
        save(window, "uploading");
        window.close();
        save(window, "closing");
        window.findChild<QMessageBox*>()->close();
        release.set_value();
        waitFor([&] { return part<QLabel>(window, "state").text() == "Shared"; });
        save(window, "shared");

        drive_->setHook([seen = 0](const Request& request) mutable {
            return request.queryItem("upload_id") != nullptr && ++seen % 2 == 0
                       ? std::optional(Answer{
                             .status = 503,
                             .body = R"({"error": {"code": 503, "message": "Backend error"}})"})
                       : std::nullopt;
        });
        part<QPushButton>(window, "share").click();
        waitFor([&] { return part<QLabel>(window, "state").text() == "Failed"; });
        save(window, "failed");
        window.findChild<QMessageBox*>()->close();

        std::promise<void> rest;
        holdFile(drive_, 3, rest.get_future().share());
        part<QPushButton>(window, "share").click();
        waitFor([&] { return part<QProgressBar>(window, "progress").value() == 40; });
        part<QPushButton>(window, "cancel").click();
        rest.set_value();
        save(window, "cancelled");
        return isComplete_;
    }

private:
    void save(ShareWindow& window, const QString& state) {
        QCoreApplication::processEvents();
        isComplete_ &= picture(window).save(files_.arg(state), "PNG", 0);
    }

    LocalDrive& drive_;
    QString files_; ///< their path, with %1 for the state
    bool isComplete_ = true;
};

} // namespace

int main(int count, char** values) {
    const QTemporaryDir folder;
    useScreen(folder.filePath("screen.json"));
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    const QApplication application(count, values);
    QApplication::setStyle("fusion");
    QApplication::setFont(QFont("DejaVu Sans", 10));
    cirrus::useQtEventLoop();
    auto drive = LocalDrive::start();
    if (count != 2 || !drive) {
        std::cerr << "usage: cirrus-desktop-screenshots FOLDER\n";
        return 1;
    }
    const auto files = QString::fromLocal8Bit(values[1]) + "/desktop-%1";
    const bool isComplete = Camera(**drive, files + ".png").takeAll();
    QApplication::setPalette(darkPalette());
    return Camera(**drive, files + "-dark.png").takeAll() && isComplete ? 0 : 1;
}
