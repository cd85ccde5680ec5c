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
        start(account);
        drop({file("one")});
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

    Browser browser;
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
    EXPECT_EQ(browser.visits, 1);
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

#include "sign_in_test.moc"
