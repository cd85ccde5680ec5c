#include "ShareWindow.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QMimeData>
#include <QShortcut>

namespace {

constexpr int margin = 16;
constexpr QSize defaultSize(760, 680);
constexpr int minimumListHeight = 120;

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

ShareWindow::ShareWindow(const std::optional<std::string>& knownToken)
    : QDialog(nullptr, Qt::Window),
      files_(new FileListModel(this)),
      task_(new ShareTask(this)),
      list_(new FileListView),
      summary_(new QLabel),
      add_(makeButton("add", tr("&Add files…"))),
      remove_(makeButton("remove", tr("&Remove"))),
      form_(new ShareForm(knownToken)),
      progress_(new ProgressPanel),
      hint_(new QLabel),
      cancel_(makeButton("cancel", tr("Ca&ncel"))),
      share_(makeButton("share", tr("&Share"))) {
    setWindowTitle(tr("Share files"));
    setAcceptDrops(true);
    resize(defaultSize);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(margin, margin, margin, margin);
    addFileRows(rows);
    rows->addSpacing(margin);
    rows->addWidget(form_);
    rows->addSpacing(margin);
    rows->addWidget(progress_);
    rows->addSpacing(margin);
    addButtonRow(rows);
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
    task_->cancel();
}

void ShareWindow::closeEvent(QCloseEvent* event) {
    task_->cancel();
    event->accept();
}

void ShareWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!task_->isRunning() && !localFiles(event->mimeData()).isEmpty()) {
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
    list_->header()->setSectionResizeMode(FileListModel::sizeColumn, QHeaderView::ResizeToContents);
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
    connect(cancel_, &QPushButton::clicked, task_, &ShareTask::cancel);
    connect(share_, &QPushButton::clicked, this, &ShareWindow::share);
    connect(task_, &ShareTask::changed, this, &ShareWindow::refresh);
    connect(task_, &ShareTask::failed, this, &ShareWindow::showFailure);
}

void ShareWindow::chooseFiles() {
    addFiles(QFileDialog::getOpenFileNames(this, tr("Add files")));
}

void ShareWindow::share() {
    task_->start(form_->context(files_->paths()), form_->token());
}

void ShareWindow::showFailure(const QString& words, const QString& summary, const QString& files) {
    // Not exec(): nothing waits in here while the box is open.
    auto* box =
        new QMessageBox(QMessageBox::Warning, tr("Sharing failed"), words, QMessageBox::Ok, this);
    box->setObjectName("failure");
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(summary);
    box->setDetailedText(files);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void ShareWindow::showSummary() {
    const int count = files_->rowCount();
    const auto text = count == 1 ? tr("%1 file, %2") : tr("%1 files, %2");
    summary_->setText(count == 0 ? QString() : text.arg(count).arg(sizeText(files_->totalSize())));
}

void ShareWindow::refresh() {
    const bool isRunning = task_->isRunning();
    const auto missing = files_->rowCount() == 0 ? tr("Add the files to share.") : form_->missing();
    // First, so that it takes the focus over from a button that is disabled below.
    share_->setEnabled(!isRunning && missing.isEmpty());
    cancel_->setEnabled(isRunning);
    list_->setEnabled(!isRunning);
    add_->setEnabled(!isRunning);
    remove_->setEnabled(!isRunning && list_->selectionModel()->hasSelection());
    form_->setEnabled(!isRunning);
    hint_->setText(isRunning ? QString() : missing);
    share_->setToolTip(hint_->text());
    progress_->display(*task_);
}
