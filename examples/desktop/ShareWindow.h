#pragma once

#include <QBoxLayout>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QStringList>

#include <string>

#include "Account.h"
#include "FileListModel.h"
#include "FileListView.h"
#include "ProgressPanel.h"
#include "ShareForm.h"
#include "ShareTask.h"

/// Takes files and shares them. A dialog for its default button and the Escape key.
class ShareWindow final : public QDialog {
    Q_OBJECT

public:
    /// Shares with this access token.
    explicit ShareWindow(const std::string& token);

    /// Has the user sign in, or enter an access token. `account` has to outlive the window.
    explicit ShareWindow(Account& account);

    void addFiles(const QStringList& paths);

    /// Cancels what runs; closes nothing.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    ShareWindow(Account* account, std::string token);
    void addFileRows(QBoxLayout* rows);
    void addButtonRow(QBoxLayout* rows);
    void connectParts();
    void chooseFiles();
    void share();
    void showState();
    void showFailure();
    void askWhetherToClose();
    void showSummary();
    void refresh();

    [[nodiscard]] bool isRunning() const { return isWaitingForToken_ || task_->isRunning(); }

    void cancel();
    void start(const std::string& token);

    Account* account_; ///< null if the token is known
    const std::string knownToken_;
    bool isWaitingForToken_ = false;
    FileListModel* files_;
    ShareTask* task_;
    FileListView* list_;
    QLabel* summary_;
    QPushButton* add_;
    QPushButton* remove_;
    ShareForm* form_;
    ProgressPanel* progress_;
    QLabel* hint_;
    QPushButton* cancel_;
    QPushButton* share_;
    QString amount_; ///< how much of the latest share is uploaded
};
