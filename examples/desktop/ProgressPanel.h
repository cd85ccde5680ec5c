#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>

#include "ShareTask.h"

/// How far a share is, and its link at the end.
class ProgressPanel final : public QWidget {
    Q_OBJECT

public:
    explicit ProgressPanel(QWidget* parent = nullptr);

    /// `amount` says in words how much is done.
    void display(const ShareTask& task, const QString& amount);

private:
    void openLink();

    QLabel* state_;
    QLabel* amount_;
    QProgressBar* bar_;
    QLineEdit* link_;
    QPushButton* copy_;
    QPushButton* open_;
};
