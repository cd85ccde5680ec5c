#include "Account.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDesktopServices>
#include <QHostAddress>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QPointer>
#include <QRandomGenerator>
#include <QTimer>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr auto scope = "https://www.googleapis.com/auth/drive.file";

QByteArray base64Url(const QByteArray& bytes) {
    return bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

/// 256 unguessable bits.
QByteArray makeVerifier() {
    std::array<quint32, 8> words{};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return base64Url({reinterpret_cast<const char*>(words.data()), sizeof(words)});
}

} // namespace

Account::Account(SecretStore& store, QObject* parent) : QObject(parent), store_(store) {
    // The flow itself says nothing of a request that fails.
    connect(&network_, &QNetworkAccessManager::finished, this, [this](const QNetworkReply* reply) {
        const bool isRefusal = reply->error() == QNetworkReply::ProtocolInvalidOperationError ||
                               reply->error() == QNetworkReply::AuthenticationRequiredError;
        if (isRefusal) {
            // What is in the store is of no use any more.
            store_.write({});
            fail(tr("Google no longer accepts this sign-in. Sign in again."));
        } else if (reply->error() != QNetworkReply::NoError) {
            const auto problem =
                tr("Google could not be reached to sign in: %1").arg(reply->errorString());
            fail(problem, state_ == State::signedIn ? state_ : State::signedOut);
        }
    });
}

bool Account::setClient(const QByteArray& json) {
    const auto client = QJsonDocument::fromJson(json).object().value("installed").toObject();
    for (const auto* key : {"client_id", "client_secret", "auth_uri", "token_uri"}) {
        if (client.value(QLatin1String(key)).toString().isEmpty()) {
            return false;
        }
    }
    makeFlow(client);
    store_.read([self = QPointer(this)](const QString& refreshToken) {
        if (self && !refreshToken.isEmpty() && self->state_ == State::signedOut) {
            self->flow_->setRefreshToken(refreshToken);
            self->enter(State::signedIn);
        }
    });
    return true;
}

void Account::signIn() {
    verifier_ = makeVerifier();
    flow_->setState(makeVerifier());
    enter(State::signingIn);
    redirection_->close();
    redirection_->listen(QHostAddress::LocalHost);
    flow_->grant();
}

void Account::signOut() {
    flow_->setRefreshToken({});
    flow_->setToken({});
    store_.write({});
    enter(State::signedOut);
}

void Account::requestToken(std::chrono::seconds duration,
                           std::function<void(const QString&)> whenThere) {
    whenTokenIsThere_ = std::move(whenThere);
    if (state_ != State::signedIn) {
        deliver({});
    } else if (!flow_->token().isEmpty() &&
               flow_->expirationAt() > QDateTime::currentDateTime().addSecs(duration.count())) {
        deliver(flow_->token());
    } else {
        refresh();
    }
}

void Account::refresh() {
    if (flow_->status() == QAbstractOAuth::Status::RefreshingToken) {
        // An attempt that has failed, or that nobody waits for: this flow would wait for it for
        // ever.
        const auto refreshToken = flow_->refreshToken();
        makeFlow(client_);
        flow_->setRefreshToken(refreshToken);
    }
    flow_->refreshAccessToken();
}

void Account::makeFlow(const QJsonObject& client) {
    client_ = client;
    flow_.reset(); // before what it uses
    delete redirection_;
    flow_ = std::make_unique<QOAuth2AuthorizationCodeFlow>(
        client.value("client_id").toString(), QUrl(client.value("auth_uri").toString()),
        QUrl(client.value("token_uri").toString()), &network_);
    flow_->setClientIdentifierSharedKey(client.value("client_secret").toString());
    flow_->setScope(scope);
    // It also reads the answers to requests for tokens, so it has to be there from the beginning.
    redirection_ = new QOAuthHttpServerReplyHandler(QHostAddress::LocalHost, 0, this);
    redirection_->close();
    redirection_->setCallbackText(tr("You are signed in. You can close this page."));
    flow_->setReplyHandler(redirection_);
    flow_->setModifyParametersFunction([this](auto stage, auto* parameters) {
        if (stage == QAbstractOAuth::Stage::RequestingAuthorization) {
            const auto digest =
                QCryptographicHash::hash(verifier_.toLatin1(), QCryptographicHash::Sha256);
            // Newer versions of Qt have put theirs there.
            parameters->replace("code_challenge", QString::fromLatin1(base64Url(digest)));
            parameters->replace("code_challenge_method", "S256");
            parameters->replace("access_type", "offline"); // for a refresh token
        } else if (stage == QAbstractOAuth::Stage::RequestingAccessToken) {
            parameters->replace("code_verifier", verifier_);
            // It comes from the redirection still encoded.
            const auto code = parameters->value("code").toByteArray();
            parameters->replace("code", QUrl::fromPercentEncoding(code));
        }
    });
    connect(flow_.get(), &QOAuth2AuthorizationCodeFlow::authorizeWithBrowser, this,
            [this](const QUrl& address) {
                if (!QDesktopServices::openUrl(address)) {
                    fail(tr("No web browser could be started to sign in."));
                }
            });
    // Not its signal `granted`, which does not come after a refresh.
    connect(flow_.get(), &QOAuth2AuthorizationCodeFlow::statusChanged, this, [this](auto status) {
        if (status == QAbstractOAuth::Status::Granted) {
            receiveToken();
        }
    });
    connect(flow_.get(), &QOAuth2AuthorizationCodeFlow::error, this, [this](const QString& error) {
        fail(error == "access_denied" ? tr("You did not allow access to Google Drive.")
                                      : tr("Google refused to sign in: %1").arg(error));
    });
}

/// Soon: the browser still waits for its page.
void Account::stopListening() {
    QTimer::singleShot(0, this, [this] {
        if (state_ != State::signingIn) {
            redirection_->close();
        }
    });
}

void Account::receiveToken() {
    stopListening();
    if (state_ == State::signingIn) {
        store_.write(flow_->refreshToken());
    }
    enter(State::signedIn);
    deliver(flow_->token());
}

void Account::fail(const QString& problem, State state) {
    stopListening();
    flow_->setToken({});
    enter(state, problem);
    deliver({});
}

void Account::enter(State state, const QString& problem) {
    state_ = state;
    problem_ = problem;
    emit changed();
}

void Account::deliver(const QString& token) {
    if (const auto whenThere = std::exchange(whenTokenIsThere_, nullptr)) {
        whenThere(token);
    }
}
