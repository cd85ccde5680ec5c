#pragma once

#include <QAbstractTableModel>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QStringList>

#include <filesystem>
#include <vector>

/// The files to share, in the order in which they are uploaded.
class FileListModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { nameColumn, sizeColumn, columnsInAll };

    using QAbstractTableModel::QAbstractTableModel;

    /// Adds the files that are not in the list yet. Gives back what is no file, such as a folder.
    QStringList add(const QStringList& paths);

    [[nodiscard]] std::vector<std::filesystem::path> paths() const;
    [[nodiscard]] qint64 totalSize() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;

private:
    [[nodiscard]] bool contains(const QFileInfo& file) const;

    QFileIconProvider icons_;
    std::vector<QFileInfo> files_;
};

/// A size in bytes in the user's language.
QString sizeText(qint64 size);
