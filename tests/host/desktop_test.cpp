// The example's window as its user sees it, in front of a local Drive.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QMessageBox>
#include <QNetworkReply>
#include <QSslConfiguration>
#include <QTest>

#include <algorithm>

#include "examples/desktop/ShareWindow.h"
#include "tests/support/Step.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"
#include <Cirrus/adapters/Qt.h>
#include <Cirrus/emulator/LocalDrive.h>

namespace cirrus::tests {

namespace {

class MemoryStore final : public SecretStore {
public:
    void read(std::function<void(const QString&)> whenRead) override { whenRead(secret); }

    void write(const QString& value) override { secret = value; }

    QString secret;
};

class Desktop : public testing::Test {
protected:
    Desktop() {
        holdUploads();
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

    /// Lets uploads wait at a new gate.
    void holdUploads() {
        gate = std::make_shared<Gate>();
        (*drive)->setHook([gate = gate](const auto& request) {
            stepOf(request) == Step::content ? gate->pass() : void();
            return std::nullopt;
        });
    }

    template <class Widget = QPushButton>
    Widget* find(const char* name) {
        return window.findChild<Widget*>(name);
    }

    void add(const std::vector<std::string>& names) {
        QStringList paths;
        for (const auto& name : names) {
            paths.append(folder.write(name, name).c_str());
        }
        window.addFiles(paths);
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

TEST_F(Desktop, SharesFilesAndGivesTheirLink) {
    add({"one", "two", "one"});
    QTest::keyClicks(find<QWidget>("email"), "a@example.com");
    QTest::keyClick(&window, Qt::Key_Return);
    ASSERT_TRUE(await("Uploading"));
    EXPECT_EQ(states(), "Uploaded, Uploading");
    gate->open();
    ASSERT_TRUE(await("Shared"));
    EXPECT_EQ(words, "Preparing Uploading Finishing Shared ");
    const auto shared = (*drive)->snapshot().files.at(1);
    EXPECT_EQ(shared.permissions.at(0).emailAddress, "a@example.com");
    find("copy")->click();
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
              "https://drive.google.com/drive/folders/" + shared.id);
}

TEST_F(Desktop, ShowsWhichFilesFailedAndCanShareAgain) {
    gate->open();
    add({"one", "two"});
    std::filesystem::remove(folder.path() / "two");
    find("share")->click();
    ASSERT_TRUE(await("Failed"));
    EXPECT_EQ(states(), "Uploaded, the file could not be read");
    auto* const box = window.findChild<QMessageBox*>("failure");
    EXPECT_EQ(box->informativeText(), "1 file: the file could not be read");
    QTest::keyClick(box, Qt::Key_Escape);
    add({"two"});
    find("share")->click();
    ASSERT_TRUE(await("Shared"));
    EXPECT_EQ(states(), "Shared, Shared");
}

TEST_F(Desktop, ReallyStopsAndAsksBeforeItClosesInMidUpload) {
    add({"one"});
    for (const bool closes : {false, true}) {
        holdUploads();
        words.clear();
        const auto before = (*drive)->snapshot().requests.size();
        find("share")->click();
        ASSERT_TRUE(gate->awaitArrival());
        if (closes) {
            window.close();
            press("&Stop and close");
        } else {
            find("cancel")->click();
        }
        gate->open();
        // By the end of another share, the stopped one would have gone on.
        find("share")->click();
        ASSERT_TRUE(await("Shared"));
        EXPECT_TRUE(words.contains(" Cancelled Preparing ")) << words;
        EXPECT_EQ((*drive)->snapshot().requests.size() - before, closes ? 4U + 6U : 5U + 6U);
    }
    find("share")->click(); // The window goes in the midst of it.
}

/// With a browser whose user signs in at once.
class SignIn : public QObject, public Desktop {
    Q_OBJECT

protected:
    SignIn() {
        QDesktopServices::setUrlHandler("https", this, "open");
        gate->open();
        auto trusting = QSslConfiguration::defaultConfiguration();
        trusting.setCaCertificates(
            QSslCertificate::fromData(QByteArray::fromStdString((*drive)->certificateAuthority())));
        QSslConfiguration::setDefaultConfiguration(trusting);
        find<QCheckBox>("usesToken")->click();
        start(account);
        add({"one"});
    }

    ~SignIn() override { QDesktopServices::unsetUrlHandler("https"); }

    Q_INVOKABLE void open(const QUrl& address) {
        ++visits;
        QNetworkRequest request(address);
        // From HTTPS to plain HTTP on the same machine.
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::ManualRedirectPolicy);
        auto* const reply = network.get(request);
        connect(reply, &QNetworkReply::finished, this, [this, reply] {
            network.get(QNetworkRequest(reply->header(QNetworkRequest::LocationHeader).toUrl()));
        });
    }

    void SetUp() override {
        if (qEnvironmentVariableIsSet("TSAN_OPTIONS")) {
            GTEST_SKIP() << "Qt's network threads are not instrumented";
        }
    }

    void start(Account& started) {
        EXPECT_TRUE(started.setClient(QByteArray::fromStdString((*drive)->clientFile())));
    }

    /// Presses a button and waits for what is then said of the account.
    void click(const char* button, const QString& text) {
        find(button)->click();
        EXPECT_TRUE(waitFor([&] { return find<QLabel>("account")->text() == text; }));
    }

    static QString tokenOf(Account& asked, std::chrono::seconds duration) {
        std::optional<QString> token;
        asked.requestToken(duration, [&token](const QString& given) { token = given; });
        EXPECT_TRUE(waitFor([&token] { return token.has_value(); }));
        return token.value_or("");
    }

    QNetworkAccessManager network;
    int visits = 0;
};

TEST_F(SignIn, IsAskedOfTheUserOnceOnly) {
    click("signIn", "Signed in");
    find("share")->click();
    ASSERT_TRUE(await("Shared"));
    // The next time the program runs, it knows the secret only.
    Account later(store);
    start(later);
    const auto first = tokenOf(later, std::chrono::minutes(1));
    EXPECT_NE(first, "");
    EXPECT_EQ(tokenOf(later, std::chrono::minutes(1)), first);
    // Google is in trouble just when one is needed that outlives a longer job.
    (*drive)->setHook([](const auto&) { return emulator::Answer{.status = 503, .body = ""}; });
    EXPECT_EQ(tokenOf(later, std::chrono::hours(2)), "");
    EXPECT_NE(later.problem(), "");
    (*drive)->setHook({});
    EXPECT_NE(tokenOf(later, std::chrono::hours(2)), first);
    EXPECT_EQ(later.problem(), "");
    EXPECT_EQ(visits, 1);
}

TEST_F(SignIn, CanBeRefusedTriedAgainEndedAndRevoked) {
    (*drive)->refuseSignIn(true);
    click("signIn", "You did not allow access to Google Drive.");
    (*drive)->refuseSignIn(false);
    click("signIn", "Signed in");
    click("signIn", "Not signed in");
    EXPECT_EQ(store.secret, "");
    store.secret = "of a consent that was revoked";
    start(account);
    click("share", "Google no longer accepts this sign-in. Sign in again.");
    EXPECT_EQ(store.secret, "");
    EXPECT_EQ(words, "") << "nothing was shared";
}

} // namespace

} // namespace cirrus::tests

int main(int count, char** values) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QLocale::setDefault(QLocale::c());
    const QApplication application(count, values);
    cirrus::useQtEventLoop();
    testing::InitGoogleTest(&count, values);
    return RUN_ALL_TESTS();
}

#include "desktop_test.moc"
