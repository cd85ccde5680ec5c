#pragma once

#include <QTreeView>

/// A list of files. Says what to do while it is empty, and removes with the Delete key.
class FileListView final : public QTreeView {
    Q_OBJECT

public:
    explicit FileListView(QWidget* parent = nullptr);

    /// Does nothing while it is read-only.
    void removeSelected();

    void setReadOnly(bool isReadOnly) { isReadOnly_ = isReadOnly; }

    /// Shows that files may be dropped now.
    void setDropTarget(bool isDropTarget);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool isDropTarget_ = false;
    bool isReadOnly_ = false;
};
