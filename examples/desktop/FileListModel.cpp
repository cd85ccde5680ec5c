#include "FileListModel.h"

#include <Cirrus/adapters/Qt.h>

#include <QDir>
#include <QLocale>
#include <QTextDocument>

#include <algorithm>
#include <numeric>

QString sizeText(qint64 size) {
    return QLocale().formattedDataSize(size, 1, QLocale::DataSizeSIFormat);
}

QStringList FileListModel::add(const QStringList& paths) {
    QStringList refused;
    for (const auto& path : paths) {
        const QFileInfo file(QFileInfo(path).absoluteFilePath());
        if (!file.isFile()) {
            refused.append(file.fileName());
        } else if (!contains(file)) {
            beginInsertRows({}, rowCount(), rowCount());
            files_.push_back(file);
            endInsertRows();
        }
    }
    return refused;
}

std::vector<std::filesystem::path> FileListModel::paths() const {
    std::vector<std::filesystem::path> paths;
    paths.reserve(files_.size());
    for (const auto& file : files_) {
        paths.push_back(cirrus::toPath(file.filePath()));
    }
    return paths;
}

qint64 FileListModel::totalSize() const {
    return std::accumulate(files_.begin(), files_.end(), qint64{0},
                           [](qint64 sum, const QFileInfo& file) { return sum + file.size(); });
}

int FileListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(files_.size());
}

int FileListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnsInAll;
}

QVariant FileListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const auto& file = files_[static_cast<std::size_t>(index.row())];
    if (role == Qt::DisplayRole) {
        return index.column() == nameColumn ? file.fileName() : sizeText(file.size());
    }
    if (role == Qt::DecorationRole && index.column() == nameColumn) {
        return icons_.icon(file);
    }
    if (role == Qt::ToolTipRole) {
        return Qt::convertFromPlainText(QDir::toNativeSeparators(file.filePath()));
    }
    if (role == Qt::TextAlignmentRole && index.column() == sizeColumn) {
        return (Qt::AlignRight | Qt::AlignVCenter).toInt();
    }
    return {};
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        return section == nameColumn ? tr("Name") : tr("Size");
    }
    if (role == Qt::TextAlignmentRole) {
        return (Qt::AlignVCenter | (section == nameColumn ? Qt::AlignLeft : Qt::AlignRight))
            .toInt();
    }
    return {};
}

bool FileListModel::removeRows(int row, int count, const QModelIndex& parent) {
    if (parent.isValid() || row < 0 || count < 1 || row + count > rowCount()) {
        return false;
    }
    beginRemoveRows({}, row, row + count - 1);
    files_.erase(files_.begin() + row, files_.begin() + row + count);
    endRemoveRows();
    return true;
}

bool FileListModel::contains(const QFileInfo& file) const {
    return std::ranges::any_of(files_, [path = file.canonicalFilePath()](const QFileInfo& held) {
        return held.canonicalFilePath() == path;
    });
}
