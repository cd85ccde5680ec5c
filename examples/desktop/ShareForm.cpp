#include "ShareForm.h"

#include <QHBoxLayout>

#include <chrono>
#include <utility>

namespace {

constexpr int messageLines = 3;

template <class Widget>
Widget* named(const char* name, const QString& placeholder = {}) {
    auto* widget = new Widget;
    widget->setObjectName(name);
    widget->setPlaceholderText(placeholder);
    // Files that are dropped on a field are for the list.
    widget->setAcceptDrops(false);
    return widget;
}

QString textOf(const QLineEdit* field) {
    return field->text().trimmed();
}

std::chrono::system_clock::time_point endOf(QDate day) {
    return std::chrono::system_clock::time_point(
        std::chrono::milliseconds(day.endOfDay().toMSecsSinceEpoch()));
}

} // namespace

ShareForm::ShareForm(const std::optional<std::string>& knownToken, QWidget* parent)
    : QWidget(parent),
      rows_(new QFormLayout(this)),
      root_(named<QLineEdit>("root")),
      destination_(named<QLineEdit>("destination")),
      email_(named<QLineEdit>("email", tr("Without one, everybody who has the link may read"))),
      message_(named<QPlainTextEdit>("message", tr("Goes with the notification"))),
      expires_(new QCheckBox(tr("Ends a&fter"))),
      lastDay_(new QDateEdit),
      expirationHint_(new QLabel(tr("(needs an e-mail address)"))),
      token_(named<QLineEdit>("token", tr("Access token for Google Drive; never stored"))) {
    root_->setText("Stashly");
    destination_->setText(tr("Shared files"));
    message_->setTabChangesFocus(true);
    message_->setFixedHeight(fontMetrics().lineSpacing() * (messageLines + 1));
    token_->setEchoMode(QLineEdit::Password);
    token_->setText(QString::fromStdString(knownToken.value_or("")));
    addFields(!knownToken);
    for (auto* field : {root_, destination_, email_, token_}) {
        connect(field, &QLineEdit::textChanged, this, &ShareForm::refresh);
    }
    connect(expires_, &QCheckBox::toggled, this, &ShareForm::refresh);
    refresh();
}

QString ShareForm::missing() const {
    if (textOf(root_).isEmpty()) {
        return tr("Enter the name of the root folder.");
    }
    if (textOf(destination_).isEmpty()) {
        return tr("Enter a name for the new folder.");
    }
    return textOf(token_).isEmpty() ? tr("Enter your access token for Google Drive.") : QString();
}

cirrus::ShareController::Context
ShareForm::context(std::vector<std::filesystem::path> files) const {
    std::optional<std::string> email;
    std::optional<std::string> message;
    std::optional<std::chrono::system_clock::time_point> expiration;
    if (const auto address = textOf(email_); !address.isEmpty()) {
        email = address.toStdString();
        if (const auto text = message_->toPlainText().trimmed(); !text.isEmpty()) {
            message = text.toStdString();
        }
        if (expires_->isChecked()) {
            expiration = endOf(lastDay_->date());
        }
    }
    return {std::move(files),
            textOf(root_).toStdString(),
            textOf(destination_).toStdString(),
            email,
            message,
            expiration};
}

std::string ShareForm::token() const {
    return textOf(token_).toStdString();
}

void ShareForm::addFields(bool asksForToken) {
    rows_->setContentsMargins({});
    rows_->addRow(tr("R&oot folder:"), root_);
    rows_->addRow(tr("New fol&der:"), destination_);
    rows_->addRow(tr("&E-mail:"), email_);
    rows_->addRow(tr("&Message:"), message_);
    rows_->addRow(QString(), makeExpirationRow());
    rows_->addRow(tr("&Token:"), token_);
    rows_->setRowVisible(token_, asksForToken);
}

QLayout* ShareForm::makeExpirationRow() {
    expires_->setObjectName("expires");
    expires_->setToolTip(
        tr("The share ends with this day. Google Drive allows that for one address only."));
    lastDay_->setObjectName("lastDay");
    lastDay_->setAccessibleName(tr("Last day of the share"));
    lastDay_->setCalendarPopup(true);
    expirationHint_->setEnabled(false);
    lastDay_->setMinimumDate(QDate::currentDate());
    lastDay_->setDate(QDate::currentDate().addMonths(1));
    auto* row = new QHBoxLayout;
    row->addWidget(expires_);
    row->addWidget(lastDay_);
    row->addWidget(expirationHint_);
    row->addStretch();
    return row;
}

void ShareForm::refresh() {
    const bool hasAddress = !textOf(email_).isEmpty();
    message_->setEnabled(hasAddress);
    rows_->labelForField(message_)->setEnabled(hasAddress);
    expires_->setEnabled(hasAddress);
    lastDay_->setEnabled(hasAddress && expires_->isChecked());
    expirationHint_->setVisible(!hasAddress);
    emit edited();
}
