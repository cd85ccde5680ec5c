#include "FileListView.h"

#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

FileListView::FileListView(QWidget* parent) : QTreeView(parent) {
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setSelectionMode(ExtendedSelection);
}

void FileListView::removeSelected() {
    QList<int> rows;
    for (const auto& index : selectionModel()->selectedRows()) {
        rows.append(index.row());
    }
    std::ranges::sort(rows, std::greater());
    for (const int row : rows) {
        model()->removeRow(row);
    }
}

void FileListView::setDropTarget(bool isDropTarget) {
    isDropTarget_ = isDropTarget;
    viewport()->update();
}

void FileListView::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    QPainter painter(viewport());
    const auto area = viewport()->rect();
    if (model()->rowCount() == 0) {
        constexpr int margin = 12;
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(area.adjusted(margin, margin, -margin, -margin),
                         Qt::AlignCenter | Qt::TextWordWrap,
                         tr("Drop files here, or press “Add files…”."));
    }
    if (isDropTarget_) {
        constexpr int width = 2;
        painter.setPen(QPen(palette().color(QPalette::Highlight), width));
        painter.drawRect(area.adjusted(1, 1, -1, -1));
    }
}

void FileListView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Delete)) {
        removeSelected();
    } else {
        QTreeView::keyPressEvent(event);
    }
}
