#include <QDesktopServices>
#include <QNetworkReply>
#include <QSslConfiguration>

#include "tests/host/Desktop.h"

namespace cirrus::tests {

namespace {

/// A browser whose user signs in at once.
class Browser final : public QObject {
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler("https", this, "open"); }

    ~Browser() override { QDesktopServices::unsetUrlHandler("https"); }

    Q_INVOKABLE void open(const QUrl& address) {
        ++visits;
        QNetworkRequest request(address);
        // From HTTPS to plain HTTP on the same machine.
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::ManualRedirectPolicy);
        auto* const reply = network_.get(request);
        connect(reply, &QNetworkReply::finished, this, [this, reply] {
            network_.get(QNetworkRequest(reply->header(QNetworkRequest::LocationHeader).toUrl()));
        });
    }

    int visits = 0;

private:
    QNetworkAccessManager network_;
};

class SignIn : public Desktop {
protected:
    SignIn() {
        gate->open();
        auto trusting = QSslConfiguration::defaultConfiguration();
        trusting.setCaCertificates(
            QSslCertificate::fromData(QByteArray::fromStdString((*drive)->certificateAuthority())));
        QSslConfiguration::setDefaultConfiguration(trusting);
        find<QCheckBox>("usesToken")->click();
        EXPECT_TRUE(account.setClient(QByteArray::fromStdString((*drive)->clientFile())));
        drop({file("one")});
    }

    void SetUp() override {
        if (qEnvironmentVariableIsSet("TSAN_OPTIONS")) {
            GTEST_SKIP() << "Qt's network threads are not instrumented";
        }
    }

    bool awaitAccount(const QString& text) {
        return QTest::qWaitFor([&] { return find<QLabel>("account")->text() == text; },
                               1000 * patience.count());
    }

    /// How often the endpoint for tokens was asked.
    auto tokensAsked() {
        return std::ranges::count((*drive)->snapshot().requests, std::string("/token"),
                                  &emulator::RecordedRequest::path);
    }

    Browser browser;
};

TEST_F(SignIn, IsAskedOfTheUserOnceOnly) {
    EXPECT_EQ(find<QLabel>("hint")->text(), "Sign in to Google.");
    EXPECT_FALSE(find("share")->isEnabled());
    find("signIn")->click();
    ASSERT_TRUE(awaitAccount("Signed in"));
    for (int share = 0; share < 2; ++share) {
        find("share")->click();
        ASSERT_TRUE(await("Shared"));
        words += "again ";
    }
    EXPECT_EQ(tokensAsked(), 1);

    // The next time the program runs.
    Account later(store);
    EXPECT_TRUE(later.setClient(QByteArray::fromStdString((*drive)->clientFile())));
    QString token;
    later.requestToken(std::chrono::minutes(1), [&](const QString& given) { token = given; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return !token.isEmpty(); }, 1000 * patience.count()));
    // What would not outlive a job is replaced before it.
    later.requestToken(std::chrono::hours(2), [&](const QString& given) { token = given; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return tokensAsked() == 3; }, 1000 * patience.count()));
    EXPECT_EQ(browser.visits, 1);
}

TEST_F(SignIn, CanBeRefusedAndTriedAgain) {
    (*drive)->refuseSignIn(true);
    find("signIn")->click();
    ASSERT_TRUE(awaitAccount("You did not allow access to Google Drive."));
    (*drive)->refuseSignIn(false);
    find("signIn")->click();
    ASSERT_TRUE(awaitAccount("Signed in"));
    find("signIn")->click();
    ASSERT_TRUE(awaitAccount("Not signed in"));
    EXPECT_EQ(store.secret, "");
}

TEST_F(SignIn, OutlivesARefreshThatFails) {
    find("signIn")->click();
    ASSERT_TRUE(awaitAccount("Signed in"));
    // The next time the program runs, Google is in trouble at first.
    Account later(store);
    EXPECT_TRUE(later.setClient(QByteArray::fromStdString((*drive)->clientFile())));
    for (const bool isInTrouble : {true, false}) {
        (*drive)->setHook([isInTrouble](const auto& request) {
            return isInTrouble && request.path == "/token"
                       ? std::optional(emulator::Answer{.status = 503, .body = ""})
                       : std::nullopt;
        });
        std::optional<QString> token;
        later.requestToken(std::chrono::minutes(1), [&](const QString& given) { token = given; });
        ASSERT_TRUE(QTest::qWaitFor([&] { return token.has_value(); }, 1000 * patience.count()));
        EXPECT_EQ(token->isEmpty(), isInTrouble);
        EXPECT_EQ(later.problem().isEmpty(), !isInTrouble);
        EXPECT_EQ(later.state(), Account::State::signedIn);
    }
}

TEST_F(SignIn, EndsWhenItIsRevoked) {
    store.secret = "of a consent that was revoked";
    EXPECT_TRUE(account.setClient(QByteArray::fromStdString((*drive)->clientFile())));
    ASSERT_TRUE(awaitAccount("Signed in"));
    find("share")->click();
    ASSERT_TRUE(awaitAccount("Google no longer accepts this sign-in. Sign in again."));
    EXPECT_EQ(store.secret, "");
    EXPECT_EQ(words, "");
    EXPECT_FALSE(find("cancel")->isEnabled());
}

} // namespace

} // namespace cirrus::tests

#include "sign_in_test.moc"
