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
    if (isReadOnly_) {
        return;
    }
    QList<int> rows;
    for (const auto& index : selectionModel()->selectedRows()) {
        rows.append(index.row());
    }
    // From the end on, so that the rows still to go keep their numbers; neighbours at once.
    std::ranges::sort(rows, std::greater());
    while (!rows.isEmpty()) {
        int first = rows.takeFirst();
        int count = 1;
        while (!rows.isEmpty() && rows.front() == first - 1) {
            first = rows.takeFirst();
            ++count;
        }
        model()->removeRows(first, count);
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
