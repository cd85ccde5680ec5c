#include "ProgressPanel.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGridLayout>
#include <QGuiApplication>
#include <QMessageBox>
#include <QUrl>

namespace {

QString word(ShareTask::State state) {
    switch (state) {
    case ShareTask::State::idle:
        return ProgressPanel::tr("Not started");
    case ShareTask::State::preparing:
        return ProgressPanel::tr("Preparing");
    case ShareTask::State::uploading:
        return ProgressPanel::tr("Uploading");
    case ShareTask::State::finishing:
        return ProgressPanel::tr("Finishing");
    case ShareTask::State::shared:
        return ProgressPanel::tr("Shared");
    case ShareTask::State::failed:
        return ProgressPanel::tr("Failed");
    case ShareTask::State::cancelled:
        return ProgressPanel::tr("Cancelled");
    }
    return {};
}

} // namespace

ProgressPanel::ProgressPanel(QWidget* parent)
    : QWidget(parent),
      state_(new QLabel),
      amount_(new QLabel),
      bar_(new QProgressBar),
      link_(new QLineEdit),
      copy_(new QPushButton(tr("&Copy"))),
      open_(new QPushButton(tr("O&pen"))) {
    state_->setObjectName("state");
    amount_->setObjectName("amount");
    bar_->setObjectName("progress");
    bar_->setAccessibleName(tr("Progress"));
    bar_->setTextVisible(false);
    bar_->setFixedHeight(fontMetrics().height() / 2);
    link_->setObjectName("link");
    link_->setReadOnly(true);
    link_->setAccessibleName(tr("Link"));
    link_->setPlaceholderText(tr("The link appears here"));
    copy_->setObjectName("copy");
    open_->setObjectName("open");

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins({});
    grid->addWidget(state_, 0, 0);
    grid->addWidget(amount_, 0, 1, 1, 2, Qt::AlignRight);
    grid->addWidget(bar_, 1, 0, 1, 3);
    grid->addWidget(link_, 2, 0);
    grid->addWidget(copy_, 2, 1);
    grid->addWidget(open_, 2, 2);

    connect(copy_, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(link_->text()); });
    connect(open_, &QPushButton::clicked, this, &ProgressPanel::openLink);
}

void ProgressPanel::display(const ShareTask& task, const QString& amount) {
    constexpr double whole = 100;
    state_->setText(word(task.state()));
    bar_->setValue(static_cast<int>(task.fraction() * whole));
    amount_->setText(amount);
    const bool hasLink = !task.link().isEmpty();
    const bool isNew = hasLink && link_->text() != task.link();
    link_->setText(task.link());
    link_->setCursorPosition(0);
    link_->setEnabled(hasLink);
    copy_->setEnabled(hasLink);
    open_->setEnabled(hasLink);
    if (isNew) {
        copy_->setFocus();
    }
}

void ProgressPanel::openLink() {
    if (!QDesktopServices::openUrl(QUrl(link_->text()))) {
        QMessageBox::information(this, tr("Open the link"),
                                 tr("No web browser could be started. Copy the link instead."));
    }
}
