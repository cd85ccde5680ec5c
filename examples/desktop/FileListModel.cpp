#include "FileListModel.h"

#include <Cirrus/adapters/Qt.h>

#include <QDir>
#include <QLocale>
#include <QTextDocument>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

QString sizeText(qint64 size) {
    return QLocale().formattedDataSize(size, 1, QLocale::DataSizeSIFormat);
}

QStringList FileListModel::add(const QStringList& paths) {
    QStringList refused;
    std::vector<File> added;
    for (const auto& path : paths) {
        const QFileInfo info(QFileInfo(path).absoluteFilePath());
        if (!info.isFile()) {
            refused.append(info.fileName());
        } else if (const auto place = info.canonicalFilePath(); !canonicalPaths_.contains(place)) {
            canonicalPaths_.insert(place);
            added.push_back(
                {.info = info, .canonicalPath = place, .size = info.size(), .state = {}});
        }
    }
    if (!added.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
        std::ranges::move(added, std::back_inserter(files_));
        endInsertRows();
    }
    return refused;
}

std::vector<std::filesystem::path> FileListModel::paths() const {
    std::vector<std::filesystem::path> paths;
    paths.reserve(files_.size());
    for (const auto& file : files_) {
        paths.push_back(cirrus::toPath(file.info.filePath()));
    }
    return paths;
}

qint64 FileListModel::totalSize() const {
    return std::accumulate(files_.begin(), files_.end(), qint64{0},
                           [](qint64 sum, const File& file) { return sum + file.size; });
}

void FileListModel::beginSharing() {
    done_ = 0;
    doneSize_ = 0;
    partOfNext_ = 0;
    for (auto& file : files_) {
        file.state = tr("Waiting");
    }
    stateChanged(0, files_.size());
}

void FileListModel::showProgress(double part) {
    // What is only a rounding away from the next file counts as there.
    constexpr double tolerance = 1e-6;
    const double place = part * static_cast<double>(files_.size());
    const auto reached =
        std::min(static_cast<std::size_t>(std::floor(place + tolerance)), files_.size());
    for (; done_ < reached; ++done_) {
        changeState(done_, tr("Uploaded"));
        doneSize_ += files_[done_].size;
    }
    partOfNext_ = std::max(0.0, place - static_cast<double>(done_));
    if (done_ < files_.size()) {
        changeState(done_, tr("Uploading"));
    }
}

QString FileListModel::progressText() const {
    const QLocale locale;
    auto size = static_cast<double>(doneSize_);
    if (done_ < files_.size()) {
        size += partOfNext_ * static_cast<double>(files_[done_].size);
    }
    const auto total = sizeText(totalSize());
    auto done = sizeText(static_cast<qint64>(size));
    if (const auto unit = total.mid(total.lastIndexOf(' ')); done.endsWith(unit)) {
        done.chop(unit.size());
    }
    return tr("%1 of %2, %3 of %4")
        .arg(locale.toString(static_cast<qulonglong>(done_)),
             locale.toString(static_cast<qulonglong>(files_.size())), done, total);
}

void FileListModel::showShared() {
    showProgress(1);
    for (auto& file : files_) {
        file.state = tr("Shared");
    }
    stateChanged(0, files_.size());
}

void FileListModel::showEnd(const QHash<QString, QString>& failures) {
    const auto uploaded = std::exchange(done_, 0);
    doneSize_ = 0;
    partOfNext_ = 0;
    for (std::size_t row = 0; row < files_.size(); ++row) {
        auto& file = files_[row];
        file.state = failures.value(file.info.filePath());
        // If some failed, every other one was tried and has arrived.
        if (failures.isEmpty() ? row < uploaded : file.state.isEmpty()) {
            file.state = tr("Uploaded");
            doneSize_ += file.size;
            ++done_;
        }
    }
    stateChanged(0, files_.size());
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
        return textOf(file, index.column());
    }
    if (role == Qt::DecorationRole && index.column() == nameColumn) {
        return icons_.icon(file.info);
    }
    if (role == Qt::ToolTipRole) {
        return Qt::convertFromPlainText(index.column() == stateColumn
                                            ? file.state
                                            : QDir::toNativeSeparators(file.info.filePath()));
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
        const QStringList names{tr("Name"), tr("State"), tr("Size")};
        return names.value(section);
    }
    if (role == Qt::TextAlignmentRole) {
        return (Qt::AlignVCenter | (section == sizeColumn ? Qt::AlignRight : Qt::AlignLeft))
            .toInt();
    }
    return {};
}

bool FileListModel::removeRows(int row, int count, const QModelIndex& parent) {
    if (parent.isValid() || row < 0 || count < 1 || row + count > rowCount()) {
        return false;
    }
    beginRemoveRows({}, row, row + count - 1);
    const auto first = files_.begin() + row;
    std::for_each(first, first + count,
                  [this](const File& file) { canonicalPaths_.remove(file.canonicalPath); });
    files_.erase(first, first + count);
    endRemoveRows();
    return true;
}

QVariant FileListModel::textOf(const File& file, int column) {
    switch (column) {
    case nameColumn:
        return file.info.fileName();
    case sizeColumn:
        return sizeText(file.size);
    default:
        return file.state;
    }
}

void FileListModel::changeState(std::size_t row, const QString& state) {
    if (files_[row].state != state) {
        files_[row].state = state;
        stateChanged(row, row + 1);
    }
}

void FileListModel::stateChanged(std::size_t first, std::size_t end) {
    if (first < end) {
        emit dataChanged(index(static_cast<int>(first), stateColumn),
                         index(static_cast<int>(end) - 1, stateColumn));
    }
}
