#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QMimeData>
#include <QTest>

#include <algorithm>

#include "examples/desktop/ShareWindow.h"
#include "tests/support/Step.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"
#include <Cirrus/emulator/LocalDrive.h>

namespace cirrus::tests {

class MemoryStore final : public SecretStore {
public:
    void read(std::function<void(const QString&)> whenRead) override { whenRead(secret); }

    void write(const QString& value) override { secret = value; }

    QString secret;
};

/// The window as its user sees it, in front of a local Drive.
class Desktop : public testing::Test {
protected:
    Desktop() {
        hold(Step::content);
        QObject::connect(window.findChild<ShareTask*>(), &ShareTask::changed, [this] {
            const auto word = find<QLabel>("state")->text().toStdString() + " ";
            words += words.ends_with(word) ? "" : word;
        });
        // Qt paints with threads of its own, which the thread sanitizer does not see through.
        window.setUpdatesEnabled(!qEnvironmentVariableIsSet("TSAN_OPTIONS"));
        window.show();
        find<QCheckBox>("usesToken")->click();
        QTest::keyClicks(find<QLineEdit>("token"), (*drive)->accessToken().c_str());
    }

    void TearDown() override { gate->open(); }

    /// Lets the requests of a step wait at a new gate.
    void hold(Step step) {
        gate = std::make_shared<Gate>();
        (*drive)->setHook([step, gate = gate](const auto& request) {
            stepOf(request) == step ? gate->pass() : void();
            return std::nullopt;
        });
    }

    template <class Widget = QPushButton>
    Widget* find(const char* name) {
        return window.findChild<Widget*>(name);
    }

    QUrl file(const char* name) {
        return QUrl::fromLocalFile(QString::fromStdString(folder.write(name, name).string()));
    }

    /// Drops them on a field that would take text.
    void drop(const QList<QUrl>& urls) {
        QMimeData data;
        data.setUrls(urls);
        data.setText("files");
        QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(find<QWidget>("email"), &enter);
        QCoreApplication::sendEvent(find<QWidget>("email"), &drop);
    }

    /// What the list says of each file.
    std::string states() {
        const auto* model = find<QTreeView>("files")->model();
        QStringList texts;
        for (int row = 0; row < model->rowCount(); ++row) {
            texts.append(model->index(row, FileListModel::stateColumn).data().toString());
        }
        return texts.join(", ").toStdString();
    }

    /// Presses the button of the open box that has this text.
    void press(const QString& text) {
        const auto buttons = window.findChild<QMessageBox*>()->buttons();
        const auto found = std::ranges::find(buttons, text, &QAbstractButton::text);
        ASSERT_TRUE(found != buttons.end());
        (*found)->click();
    }

    static bool waitFor(const std::function<bool()>& isSo) {
        return QTest::qWaitFor(isSo, 1000 * patience.count());
    }

    bool await(const std::string& end) {
        return waitFor([&] { return words.ends_with(end + " "); });
    }

    std::shared_ptr<Gate> gate;
    std::unique_ptr<emulator::LocalDrive> drive = emulator::LocalDrive::start().value();
    TemporaryFolder folder;
    std::string words; ///< that the state has shown
    MemoryStore store;
    Account account{store};
    ShareWindow window{account};
};

} // namespace cirrus::tests
