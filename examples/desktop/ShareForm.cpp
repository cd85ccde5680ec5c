#include "ShareForm.h"

#include <QFile>
#include <QFileDialog>
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

ShareForm::ShareForm(Account* account, QWidget* parent)
    : QWidget(parent),
      account_(account),
      rows_(new QFormLayout(this)),
      root_(named<QLineEdit>("root")),
      destination_(named<QLineEdit>("destination")),
      email_(named<QLineEdit>("email", tr("Without one, everybody who has the link may read"))),
      message_(named<QPlainTextEdit>("message", tr("Goes with the notification"))),
      expires_(new QCheckBox(tr("Ends a&fter"))),
      lastDay_(new QDateEdit),
      expirationHint_(new QLabel(tr("(needs an e-mail address)"))),
      accountState_(new QLabel),
      signIn_(new QPushButton),
      usesToken_(new QCheckBox(tr("&Use an access token instead"))),
      token_(named<QLineEdit>("token", tr("Access token for Google Drive; never stored"))) {
    root_->setText("Stashly");
    destination_->setText(tr("Shared files"));
    message_->setTabChangesFocus(true);
    message_->setFixedHeight(fontMetrics().lineSpacing() * (messageLines + 1));
    token_->setEchoMode(QLineEdit::Password);
    addFields();
    for (auto* field : {root_, destination_, email_, token_}) {
        connect(field, &QLineEdit::textChanged, this, &ShareForm::refresh);
    }
    for (const auto* box : {expires_, usesToken_}) {
        connect(box, &QCheckBox::toggled, this, &ShareForm::refresh);
    }
    connect(signIn_, &QPushButton::clicked, this, &ShareForm::signInOrOut);
    if (account_ != nullptr) {
        connect(account_, &Account::changed, this, &ShareForm::refresh);
    }
    refresh();
}

QString ShareForm::missing() const {
    if (textOf(root_).isEmpty()) {
        return tr("Enter the name of the root folder.");
    }
    if (textOf(destination_).isEmpty()) {
        return tr("Enter a name for the new folder.");
    }
    return account_ != nullptr ? missingToken() : QString();
}

QString ShareForm::missingToken() const {
    if (usesToken_->isChecked()) {
        return textOf(token_).isEmpty() ? tr("Enter your access token for Google Drive.")
                                        : QString();
    }
    return account_->state() == Account::State::signedIn ? QString() : tr("Sign in to Google.");
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
    return usesToken_->isChecked() ? textOf(token_).toStdString() : std::string();
}

void ShareForm::addFields() {
    rows_->setContentsMargins({});
    rows_->addRow(tr("R&oot folder:"), root_);
    rows_->addRow(tr("New fol&der:"), destination_);
    rows_->addRow(tr("&E-mail:"), email_);
    rows_->addRow(tr("&Message:"), message_);
    rows_->addRow(QString(), makeExpirationRow());
    if (account_ != nullptr) {
        rows_->addRow(tr("Account:"), makeAccountRow());
        rows_->addRow(QString(), usesToken_);
    }
    rows_->addRow(tr("&Token:"), token_);
}

QLayout* ShareForm::makeAccountRow() {
    accountState_->setObjectName("account");
    accountState_->setTextFormat(Qt::PlainText);
    accountState_->setWordWrap(true);
    signIn_->setObjectName("signIn");
    signIn_->setAutoDefault(false);
    usesToken_->setObjectName("usesToken");
    auto* row = new QHBoxLayout;
    row->addWidget(accountState_, 1);
    row->addWidget(signIn_);
    return row;
}

void ShareForm::signInOrOut() {
    if (account_->state() == Account::State::signedIn) {
        account_->signOut();
    } else if (account_->hasClient() || chooseClient()) {
        account_->signIn();
    }
}

/// Asks for the file that tells Google which program this is.
bool ShareForm::chooseClient() {
    QFile file(QFileDialog::getOpenFileName(
        this, tr("The client's JSON file from Google's console"), QString(), tr("JSON (*.json)")));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const bool isClient = account_->setClient(file.readAll());
    if (!isClient) {
        accountState_->setText(tr("This is not the file of a client for desktop applications."));
    }
    return isClient;
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
    rows_->setRowVisible(token_, usesToken_->isChecked());
    if (account_ != nullptr) {
        showAccount();
    }
    emit edited();
}

void ShareForm::showAccount() {
    const bool isSignedIn = account_->state() == Account::State::signedIn;
    QString text = isSignedIn ? tr("Signed in") : tr("Not signed in");
    if (account_->state() == Account::State::signingIn) {
        text = tr("Go on in your web browser…");
    }
    accountState_->setText(account_->problem().isEmpty() ? text : account_->problem());
    signIn_->setText(isSignedIn ? tr("S&ign out") : tr("S&ign in…"));
    for (auto* widget : {static_cast<QWidget*>(accountState_), static_cast<QWidget*>(signIn_)}) {
        widget->setEnabled(!usesToken_->isChecked());
    }
}
