#pragma once

#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QOAuth2AuthorizationCodeFlow>
#include <QOAuthHttpServerReplyHandler>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

#include "SecretStore.h"

/// The user's Google account: signs in with the browser, and has access tokens as long as that
/// lasts. The refresh token is kept in a store, so that the user signs in once.
class Account final : public QObject {
    Q_OBJECT

public:
    enum class State { signedOut, signingIn, signedIn };

    /// `store` has to outlive this object.
    explicit Account(SecretStore& store, QObject* parent = nullptr);

    /// Takes the JSON file that Google's console gives for a client of the type "Desktop app", and
    /// goes on with what is in the store. False if it is something else.
    bool setClient(const QByteArray& json);

    [[nodiscard]] bool hasClient() const { return flow_ != nullptr; }

    [[nodiscard]] State state() const { return state_; }

    /// Why signing in or the latest refresh failed; empty otherwise.
    [[nodiscard]] const QString& problem() const { return problem_; }

    /// Opens the browser. Begins anew if it is under way already.
    void signIn();

    /// Forgets everything, in the store too.
    void signOut();

    /// Calls back with an access token that stays valid for this long, or as long as a new one
    /// does; with an empty one if there is none, and `problem` says why. Later calls replace the
    /// callback.
    void requestToken(std::chrono::seconds duration, std::function<void(const QString&)> whenThere);

    void cancelRequest() { whenTokenIsThere_ = nullptr; }

signals:
    void changed();

private:
    void refresh();
    void makeFlow(const QJsonObject& client);
    void stopListening();
    void receiveToken();
    void fail(const QString& problem, State state = State::signedOut);
    void enter(State state, const QString& problem = {});
    void deliver(const QString& token);

    SecretStore& store_;
    QNetworkAccessManager network_;
    QJsonObject client_;
    std::unique_ptr<QOAuth2AuthorizationCodeFlow> flow_;
    QOAuthHttpServerReplyHandler* redirection_ = nullptr; ///< where the browser comes back to
    QString verifier_; ///< of the authorization that is under way
    std::function<void(const QString&)> whenTokenIsThere_;
    State state_ = State::signedOut;
    QString problem_;
};
