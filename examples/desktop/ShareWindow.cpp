#include "ShareWindow.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr int margin = 16;
constexpr QSize defaultSize(760, 680);
constexpr int minimumListHeight = 120;

/// How long a token has to be good for, on a slow line; a new one is good for an hour.
std::chrono::seconds likelyDuration(qint64 size) {
    using namespace std::chrono_literals;
    constexpr qint64 bytesPerSecond = 1'000'000;
    return std::min<std::chrono::seconds>(5min + std::chrono::seconds(size / bytesPerSecond),
                                          50min);
}

QPushButton* makeButton(const char* name, const QString& text) {
    auto* button = new QPushButton(text);
    button->setObjectName(name);
    return button;
}

QStringList localFiles(const QMimeData* data) {
    QStringList paths;
    for (const auto& url : data->urls()) {
        if (url.isLocalFile()) {
            paths.append(url.toLocalFile());
        }
    }
    return paths;
}

} // namespace

ShareWindow::ShareWindow(const std::string& token) : ShareWindow(nullptr, token) {}

ShareWindow::ShareWindow(Account& account) : ShareWindow(&account, {}) {}

ShareWindow::ShareWindow(Account* account, std::string token)
    : QDialog(nullptr, Qt::Window),
      account_(account),
      knownToken_(std::move(token)),
      files_(new FileListModel(this)),
      task_(new ShareTask(this)),
      list_(new FileListView),
      summary_(new QLabel),
      add_(makeButton("add", tr("&Add files…"))),
      remove_(makeButton("remove", tr("&Remove"))),
      form_(new ShareForm(account)),
      progress_(new ProgressPanel),
      hint_(new QLabel),
      cancel_(makeButton("cancel", tr("Ca&ncel"))),
      share_(makeButton("share", tr("&Share"))) {
    setWindowTitle(tr("Share files"));
    setAcceptDrops(true);
    // What a small screen has no room for is scrolled; progress and buttons stay in sight.
    auto* scrolled = new QWidget;
    auto* entries = new QVBoxLayout(scrolled);
    entries->setContentsMargins({});
    addFileRows(entries);
    entries->addSpacing(margin);
    entries->addWidget(form_);
    auto* area = new QScrollArea;
    area->setWidget(scrolled);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(margin, margin, margin, margin);
    rows->addWidget(area, 1);
    rows->addSpacing(margin);
    rows->addWidget(progress_);
    rows->addSpacing(margin);
    addButtonRow(rows);
    constexpr QSize frame(2 * margin, 3 * margin);
    resize(defaultSize.boundedTo(screen()->availableSize() - frame));
    connectParts();
    showSummary();
    refresh();
}

void ShareWindow::addFiles(const QStringList& paths) {
    const auto refused = files_->add(paths);
    if (refused.size() == 1) {
        const auto name =
            fontMetrics().elidedText(refused.front(), Qt::ElideMiddle, list_->width() / 3);
        summary_->setText(tr("“%1” is not a file and was left out.").arg(name));
    } else if (!refused.isEmpty()) {
        summary_->setText(tr("%1 items are not files and were left out.").arg(refused.size()));
    }
}

void ShareWindow::reject() {
    cancel();
}

void ShareWindow::closeEvent(QCloseEvent* event) {
    if (isRunning()) {
        event->ignore();
        askWhetherToClose();
    }
}

void ShareWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!isRunning() && !localFiles(event->mimeData()).isEmpty()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        list_->setDropTarget(true);
    }
}

void ShareWindow::dragLeaveEvent(QDragLeaveEvent*) {
    list_->setDropTarget(false);
}

void ShareWindow::dropEvent(QDropEvent* event) {
    list_->setDropTarget(false);
    event->setDropAction(Qt::CopyAction);
    event->accept();
    addFiles(localFiles(event->mimeData()));
}

void ShareWindow::addFileRows(QBoxLayout* rows) {
    list_->setObjectName("files");
    list_->setModel(files_);
    list_->setMinimumHeight(minimumListHeight);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(FileListModel::nameColumn, QHeaderView::Stretch);
    for (const auto column : {FileListModel::sizeColumn, FileListModel::stateColumn}) {
        list_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    }
    auto* label = new QLabel(tr("F&iles:"));
    label->setBuddy(list_);
    summary_->setObjectName("summary");
    summary_->setTextFormat(Qt::PlainText);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(add_);
    buttons->addWidget(remove_);
    buttons->addWidget(summary_, 1, Qt::AlignRight);
    rows->addWidget(label);
    rows->addWidget(list_, 1);
    rows->addLayout(buttons);
}

void ShareWindow::addButtonRow(QBoxLayout* rows) {
    hint_->setObjectName("hint");
    hint_->setTextFormat(Qt::PlainText);
    hint_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    hint_->setWordWrap(true);
    // What Escape presses; Return is for the default button even when this one has the focus.
    cancel_->setAutoDefault(false);
    share_->setDefault(true);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(hint_, 1);
    buttons->addWidget(cancel_);
    buttons->addWidget(share_);
    rows->addLayout(buttons);
}

void ShareWindow::connectParts() {
    connect(add_, &QPushButton::clicked, this, &ShareWindow::chooseFiles);
    connect(new QShortcut(QKeySequence::Open, this), &QShortcut::activated, add_,
            &QPushButton::click);
    connect(new QShortcut(QKeySequence::Quit, this), &QShortcut::activated, this, &QWidget::close);
    connect(remove_, &QPushButton::clicked, list_, &FileListView::removeSelected);
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ShareWindow::refresh);
    for (const auto changed : {&FileListModel::rowsInserted, &FileListModel::rowsRemoved}) {
        connect(files_, changed, this, &ShareWindow::showSummary);
        connect(files_, changed, this, &ShareWindow::refresh);
    }
    connect(form_, &ShareForm::edited, this, &ShareWindow::refresh);
    connect(cancel_, &QPushButton::clicked, this, &ShareWindow::cancel);
    connect(share_, &QPushButton::clicked, this, &ShareWindow::share);
    connect(task_, &ShareTask::changed, this, &ShareWindow::showState);
}

void ShareWindow::chooseFiles() {
    addFiles(QFileDialog::getOpenFileNames(this, tr("Add files")));
}

void ShareWindow::share() {
    if (account_ == nullptr) {
        start(knownToken_);
    } else if (const auto token = form_->token(); !token.empty()) {
        start(token);
    } else {
        isWaitingForToken_ = true;
        account_->requestToken(likelyDuration(files_->totalSize()), [this](const QString& given) {
            isWaitingForToken_ = false;
            given.isEmpty() ? refresh() : start(given.toStdString());
        });
        refresh();
    }
}

void ShareWindow::start(const std::string& token) {
    task_->start(form_->context(files_->paths()), token);
}

void ShareWindow::cancel() {
    if (std::exchange(isWaitingForToken_, false)) {
        account_->cancelRequest();
        refresh();
    }
    task_->cancel();
}

void ShareWindow::showState() {
    switch (task_->state()) {
    case ShareTask::State::preparing:
        files_->beginSharing();
        break;
    case ShareTask::State::uploading:
    case ShareTask::State::finishing:
        files_->showProgress(task_->fraction());
        break;
    case ShareTask::State::shared:
        files_->showShared();
        break;
    case ShareTask::State::failed:
        files_->showEnd(task_->failures());
        showFailure();
        break;
    case ShareTask::State::cancelled:
        files_->showEnd({});
        break;
    case ShareTask::State::idle:
        break;
    }
    amount_ = files_->progressText();
    refresh();
}

void ShareWindow::showFailure() {
    // Not exec(): nothing waits in here while the box is open.
    auto* box = new QMessageBox(QMessageBox::Warning, tr("Sharing failed"), task_->words(),
                                QMessageBox::Ok, this);
    box->setObjectName("failure");
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(task_->failureSummary());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void ShareWindow::askWhetherToClose() {
    if (findChild<QMessageBox*>("closing") != nullptr) {
        return;
    }
    auto* box =
        new QMessageBox(QMessageBox::Question, windowTitle(),
                        tr("The files are still being shared."), QMessageBox::NoButton, this);
    box->setObjectName("closing");
    box->setInformativeText(tr("If you stop, what has arrived stays in your Drive."));
    box->setDefaultButton(box->addButton(tr("&Keep sharing"), QMessageBox::RejectRole));
    const auto* stop = box->addButton(tr("&Stop and close"), QMessageBox::DestructiveRole);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(stop, &QAbstractButton::clicked, this, [this] {
        cancel();
        close();
    });
    // Nothing is left to ask when the files are shared first.
    connect(task_, &ShareTask::changed, box, [this, box] {
        if (!task_->isRunning()) {
            box->close();
        }
    });
    box->open();
}

void ShareWindow::showSummary() {
    const int count = files_->rowCount();
    const auto text = count == 1 ? tr("%1 file, %2") : tr("%1 files, %2");
    summary_->setText(count == 0 ? QString() : text.arg(count).arg(sizeText(files_->totalSize())));
}

void ShareWindow::refresh() {
    const bool isRunning = this->isRunning();
    const auto missing = files_->rowCount() == 0 ? tr("Add the files to share.") : form_->missing();
    // First, so that it takes the focus over from a button that is disabled below.
    share_->setEnabled(!isRunning && missing.isEmpty());
    cancel_->setEnabled(isRunning);
    list_->setReadOnly(isRunning);
    add_->setEnabled(!isRunning);
    remove_->setEnabled(!isRunning && list_->selectionModel()->hasSelection());
    form_->setEnabled(!isRunning);
    share_->setToolTip(isRunning ? QString() : missing);
    hint_->setText(task_->words().isEmpty() ? share_->toolTip() : task_->words());
    progress_->display(*task_, amount_);
}
