#pragma once

#include <QCheckBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QWidget>

#include <Cirrus/Cirrus.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Account.h"

/// What a share consists of beside its files.
class ShareForm final : public QWidget {
    Q_OBJECT

public:
    /// Has the user sign in, or enter an access token. `account` is null if neither is needed.
    explicit ShareForm(Account* account, QWidget* parent = nullptr);

    /// What is still to be entered before anything can be shared; empty when nothing is.
    [[nodiscard]] QString missing() const;

    [[nodiscard]] cirrus::ShareController::Context
    context(std::vector<std::filesystem::path> files) const;

    /// What the user has entered; empty if it comes from the account.
    [[nodiscard]] std::string token() const;

signals:
    void edited();

private:
    void addFields();
    [[nodiscard]] QLayout* makeExpirationRow();
    [[nodiscard]] QLayout* makeAccountRow();
    [[nodiscard]] QString missingToken() const;
    void signInOrOut();
    bool chooseClient();
    void showAccount();
    void refresh();

    Account* account_;
    QFormLayout* rows_;
    QLineEdit* root_;
    QLineEdit* destination_;
    QLineEdit* email_;
    QPlainTextEdit* message_;
    QCheckBox* expires_;
    QDateEdit* lastDay_;
    QLabel* expirationHint_;
    QLabel* accountState_;
    QPushButton* signIn_;
    QCheckBox* usesToken_;
    QLineEdit* token_;
};
