#pragma once

#include <QCheckBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QWidget>

#include <Cirrus/Cirrus.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// What a share consists of beside its files.
class ShareForm final : public QWidget {
    Q_OBJECT

public:
    /// Asks for the access token unless it is known.
    explicit ShareForm(const std::optional<std::string>& knownToken, QWidget* parent = nullptr);

    /// What is still to be entered before anything can be shared; empty when nothing is.
    [[nodiscard]] QString missing() const;

    [[nodiscard]] cirrus::ShareController::Context
    context(std::vector<std::filesystem::path> files) const;
    [[nodiscard]] std::string token() const;

signals:
    void edited();

private:
    void addFields(bool asksForToken);
    [[nodiscard]] QLayout* makeExpirationRow();
    void refresh();

    QFormLayout* rows_;
    QLineEdit* root_;
    QLineEdit* destination_;
    QLineEdit* email_;
    QPlainTextEdit* message_;
    QCheckBox* expires_;
    QDateEdit* lastDay_;
    QLabel* expirationHint_;
    QLineEdit* token_;
};
