// The example's window as its user sees it, in front of a local Drive.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QMessageBox>
#include <QMimeData>
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

TEST_F(Desktop, SharesWhatIsDroppedAndTyped) {
    drop({file("one"), file("two"), file("three"), file("one"), QUrl("file:///")});
    EXPECT_TRUE(find<QLabel>("summary")->text().endsWith("is not a file and was left out."));
    auto* list = find<QTreeView>("files");
    list->setCurrentIndex(list->model()->index(1, 0));
    QTest::keyClick(list, Qt::Key_Delete);
    QTest::keyClicks(find<QWidget>("destination"), " of us");
    QTest::keyClicks(find<QWidget>("email"), "a@example.com");
    QTest::keyClicks(find<QWidget>("message"), "Look");
    find<QCheckBox>("expires")->click();
    const auto end = find<QDateEdit>("lastDay")->date().toString("yyyy-MM-dd'T23:59:59'");
    QTest::keyClick(&window, Qt::Key_Return);
    ASSERT_TRUE(await("Uploading"));
    EXPECT_EQ(states(), "Uploaded, Uploading");
    list->selectAll();
    QTest::keyClick(list, Qt::Key_Delete); // not any more
    gate->open();
    ASSERT_TRUE(await("Shared"));
    EXPECT_EQ(words, "Preparing Uploading Finishing Shared ");
    EXPECT_EQ(states(), "Shared, Shared");
    EXPECT_EQ(find<QLabel>("amount")->text(), "2 of 2, 8 of 8 bytes");
    const auto snapshot = (*drive)->snapshot();
    EXPECT_EQ(snapshot.pathOf(snapshot.files.end()[-2]), "Stashly/Shared files of us/one");
    EXPECT_EQ(snapshot.pathOf(snapshot.files.back()), "Stashly/Shared files of us/three");
    const auto& permission = snapshot.files[1].permissions.at(0);
    EXPECT_EQ(*permission.emailAddress + ": " + *permission.emailMessage, "a@example.com: Look");
    EXPECT_TRUE(permission.expirationTime->starts_with(end.toStdString()));
    find("copy")->click();
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
              "https://drive.google.com/drive/folders/" + snapshot.files[1].id);
}

TEST_F(Desktop, ShowsFailuresAndCanShareAgain) {
    const std::string refusal = R"({"error": {"code": 403, "message": "Not <allowed>."}})";
    (*drive)->setHook(answeringOnce(Step::permission, {.status = 403, .body = refusal}));
    drop({file("one"), file("two")});
    find("share")->click();
    ASSERT_TRUE(await("Failed"));
    EXPECT_EQ(qobject_cast<QMessageBox*>(qApp->activeModalWidget())->text(), "Not <allowed>.");
    QTest::keyClick(qApp->activeModalWidget(), Qt::Key_Escape);
    EXPECT_EQ(find<QLabel>("hint")->text(), "Not <allowed>.");
    EXPECT_EQ(states(), "Uploaded, Uploaded");
    std::filesystem::remove(folder.path() / "two");
    words = "";
    find("share")->click();
    ASSERT_TRUE(await("Failed")) << words;
    EXPECT_EQ(states(), "Uploaded, the file could not be read");
    EXPECT_EQ(window.findChild<QMessageBox*>("failure")->informativeText(),
              "1 file: the file could not be read");
    EXPECT_EQ(find<QLabel>("amount")->text(), "1 of 2, 3 of 6 bytes");
}

TEST_F(Desktop, FitsASmallScreen) {
    // 1366 x 768 at 150 %, without the frame and a panel.
    constexpr QSize small(911, 450);
    window.resize(small);
    EXPECT_EQ(window.size(), small);
}

TEST_F(Desktop, ReallyStopsAndAsksBeforeItClosesInMidUpload) {
    drop({file("one"), file("two")});
    const std::vector<std::tuple<Step, std::size_t, bool>> rows{
        {Step::createDestination, 3, false}, {Step::content, 4, false}, {Step::content, 4, true}};
    for (const auto& [step, requestsUntilThen, closes] : rows) {
        hold(step);
        const auto before = (*drive)->snapshot().requests.size();
        find("share")->click();
        ASSERT_TRUE(gate->awaitArrival());
        if (closes) {
            window.close();
            press("&Keep sharing");
            EXPECT_TRUE(window.isVisible());
            window.close();
            press("&Stop and close");
        } else {
            find("cancel")->click();
        }
        EXPECT_TRUE(find<QLabel>("hint")->text().contains("stays in your Drive"));
        gate->open();
        // By the end of another share, the stopped one would have gone on.
        find("share")->click();
        ASSERT_TRUE(await("Shared"));
        EXPECT_EQ((*drive)->snapshot().requests.size() - before, requestsUntilThen + 8);
        EXPECT_TRUE(words.contains(" Cancelled Preparing ")) << words;
    }
    hold(Step::content);
    find("share")->click();
    ASSERT_TRUE(gate->awaitArrival());
    window.close();
    gate->open();
    ASSERT_TRUE(await("Shared"));
    EXPECT_EQ(qApp->activeModalWidget(), nullptr) << "the outcome has answered the question";
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
        drop({file("one")});
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

    /// How often the endpoint for tokens was asked.
    auto tokensAsked() {
        return std::ranges::count((*drive)->snapshot().requests, std::string("/token"),
                                  &emulator::RecordedRequest::path);
    }

    QNetworkAccessManager network;
    int visits = 0;
};

TEST_F(SignIn, IsAskedOfTheUserOnceOnly) {
    EXPECT_EQ(find<QLabel>("hint")->text(), "Sign in to Google.");
    EXPECT_FALSE(find("share")->isEnabled());
    click("signIn", "Signed in");
    for (int share = 0; share < 2; ++share) {
        find("share")->click();
        ASSERT_TRUE(await("Shared"));
        words += "again ";
    }
    EXPECT_EQ(tokensAsked(), 1);

    // The next time the program runs, Google is in trouble at first.
    Account later(store);
    start(later);
    (*drive)->setHook([](const auto& request) {
        return request.path == "/token" ? std::optional(emulator::Answer{.status = 503, .body = ""})
                                        : std::nullopt;
    });
    EXPECT_EQ(tokenOf(later, std::chrono::minutes(1)), "");
    EXPECT_NE(later.problem(), "");
    (*drive)->setHook({});
    EXPECT_NE(tokenOf(later, std::chrono::minutes(1)), "");
    EXPECT_EQ(later.problem(), "");
    // What would not outlive a job is replaced before it.
    tokenOf(later, std::chrono::hours(2));
    EXPECT_EQ(tokensAsked(), 4);
    EXPECT_EQ(later.state(), Account::State::signedIn);
    EXPECT_EQ(visits, 1);
}

TEST_F(SignIn, CanBeRefusedAndTriedAgain) {
    (*drive)->refuseSignIn(true);
    click("signIn", "You did not allow access to Google Drive.");
    (*drive)->refuseSignIn(false);
    click("signIn", "Signed in");
    click("signIn", "Not signed in");
    EXPECT_EQ(store.secret, "");
}

TEST_F(SignIn, EndsWhenItIsRevoked) {
    store.secret = "of a consent that was revoked";
    start(account);
    click("share", "Google no longer accepts this sign-in. Sign in again.");
    EXPECT_EQ(store.secret, "");
    EXPECT_EQ(words, "");
    EXPECT_FALSE(find("cancel")->isEnabled());
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
