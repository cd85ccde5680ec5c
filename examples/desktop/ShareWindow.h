#pragma once

#include <QBoxLayout>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QStringList>

#include <optional>
#include <string>

#include "FileListModel.h"
#include "FileListView.h"
#include "ProgressPanel.h"
#include "ShareForm.h"
#include "ShareTask.h"

/// Takes files and shares them. A dialog for its default button and the Escape key.
class ShareWindow final : public QDialog {
    Q_OBJECT

public:
    /// Asks for the access token unless it is known.
    explicit ShareWindow(const std::optional<std::string>& knownToken = std::nullopt);

    void addFiles(const QStringList& paths);

    /// Cancels what runs; closes nothing.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
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
